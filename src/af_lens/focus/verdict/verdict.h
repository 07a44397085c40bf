// What an autofocus run is worth, judged by the frames that it looks at anyway and by one frame
// more.
//
// The run's own rule ends it on a maximum; this one asks whether that maximum is a peak. It is when
// the last pass falls clearly on both sides of it, when no other pass has seen much more, when the
// whole run has seen enough difference to tell picture from noise, when the lens has come back to
// it, and when the next frame shows it again. "Clearly" is a share of the value, or some deviations
// of the noise if that is more.
#pragma once

#include "autofocus_control.h"

extern "C" {

/// What a run has seen: focus values, and the frames that they come from.
typedef struct {
    unsigned int frames;
    unsigned int start;
    unsigned int peak;
    unsigned int floor;
} RunSummary;
}

/// A run begins. Lens-control thread, as all of these.
void beginJudging(int index1);

/// A pass begins: what has been seen so far is no side of its maximum.
void beginJudgedPass();

/// A frame of the pass, at the present focus position.
void judgeFrame(unsigned int afv);

/// A frame before the first pass.
void judgeStart(unsigned int afv);

/// Whether a run has ended, with or without an interruption, since the last call of judgeRun().
bool isRunToJudge();

/// Whether it has waited for some frames by now and got less than half of them.
bool isRunBlind();

/// Whether it came to its own end.
bool isRunComplete();

/// The run has come to its own end.
void endJudging();

/// The same, and it has found the verdict itself.
void decideRun(AF_Outcome_em verdict);

/**
 * The verdict, after waiting for the next frame if @p waits; else that frame is not looked at.
 *
 * @return AF_OUTCOME_FOCUSED to AF_OUTCOME_BLIND; AF_OUTCOME_REPLACED for a run that was
 * interrupted.
 */
AF_Outcome_em judgeRun(bool waits);

RunSummary summariseRun();
