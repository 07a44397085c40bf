// The arithmetic of single steps: how far apart two positions are, how much room there is, what the
// counters make of a step.
#pragma once

#include "autofocus/types.h"

extern "C" {

/// Bit @p n of the result of the limit check.
inline int BIT(int res, int n) {
    return (res >> n) & 1;
}
}

static const int kZoomBlocked = 0;  ///< Bit of the limit check's result.
static const int kFocusBlocked = 1; ///< Bit of the limit check's result.

/// Unsigned distance of two positions as a count of steps.
inline int stepsBetween(unsigned int a, unsigned int b) {
    return static_cast<int>(a > b ? a - b : b - a);
}

MS_Action_em reverseFocus(MS_Action_em fType);

/// Steps left before @p limitN or @p limitF in direction @p fType; 0 or less: none.
int focusRunRange(MS_Action_em fType, unsigned int limitN, unsigned int limitF);

/// Whether a sample can be taken further on: there is range left, and a step to take, which there
/// is not before start-up.
inline bool hasWayOn(int runRange, unsigned char step) {
    return runRange > 0 && step != 0;
}

/// Clip @p step to @p runRange, programming the channel again when that shortens it.
void clipFocusStep(MS_Action_em fType, int runRange, unsigned char *step);
