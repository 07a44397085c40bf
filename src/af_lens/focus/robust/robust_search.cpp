#include "af_lens/focus/robust/robust_search.h"

#include "af_interface/statistics/shown_position.h"
#include "af_lens/focus/robust/bracket.h"
#include "af_lens/focus/robust/delay.h"
#include "af_lens/focus/robust/fine_pass.h"
#include "af_lens/focus/robust/look.h"
#include "af_lens/focus/verdict/clear_difference.h"
#include "af_lens/focus/verdict/verdict.h"
#include "af_lens/model/half_depth.h"
#include "af_lens/model/lens_state.h"
#include "autofocus/mailbox.h"
#include "autofocus_control.h"
#include "platform/arithmetic.h"
#include "platform/trace.h"

#include <limits.h>
#include <math.h>
#include <stdlib.h>

// Jumps bracket the peak by the wide value, narrowing brings the bracket down to a few half depths,
// a fine pass runs over it in the direction far, a parabola says where the top is. The lens goes
// there from the same side, waits until the statistics show it and asks whether they agree: the
// value, and its ratio to the coarser band, which no change of the light touches. If they do not,
// the pass is run again.

static const int kMostPasses = 4;
static const float kContrastDeviations = 12;
static const float kLeastFall = 0.03f;
static const float kFallDeviations = 3;
static const float kWideUnit = 2; // half depths, where the wide value is judged
static const float kBackHalfDepths = 4;
static const float kLeastMiss = 0.12f;
static const float kMissDeviations = 5;
static const float kLeastRatioMiss = 0.04f;
static const float kRatioDeviations = 4;
static const float kCurvature = 0.047f; // of a hill one half depth from its top
static const float kLeastCurvature = kCurvature / 5;
static const float kMostCurvature = kCurvature * 5;

static Looks looks;
static Samples samples;

// The narrow value, unless it does not stand out of the noise.
static Judging chooseJudging(const RunSummary &seen) {
    if (isClearlyHigher(seen.peak, seen.floor, kContrastDeviations * looking.noise))
        return {false, looking.halfDepth, looking.noise};
    return {true, kWideUnit * looking.halfDepth, looking.wideNoise};
}

static bool isConfirmed(const Judging &judging, const FinePass &pass, const Look &look) {
    const float mostMiss = clearShare(kLeastMiss, kMissDeviations, judging.noise);
    if (isClearlyOther(judgedValue(judging, look), pass.top, mostMiss))
        return false;
    const float most = clearShare(kLeastRatioMiss, kRatioDeviations, judging.noise);
    return judging.isWide || fabsf(detailOf(look) - pass.ratio) <= pass.ratio * most;
}

static AF_Outcome_em judge(const Judging &judging, const FinePass &pass, bool isSure) {
    if (pass.end != kPeakInside)
        return AF_OUTCOME_EDGE;
    const float fall = clearShare(kLeastFall, kFallDeviations, judging.noise);
    const bool hasFallen = isClearlyLower(pass.lowestBefore, pass.top, fall) &&
                           isClearlyLower(pass.lowestAfter, pass.top, fall);
    const bool hasContrast = isClearlyHigher(pass.top, minOf(pass.lowestBefore, pass.lowestAfter),
                                             kContrastDeviations * judging.noise);
    const bool isHill = pass.curvature > kLeastCurvature && pass.curvature < kMostCurvature;
    const bool isPeak = hasFallen && hasContrast && isHill;
    return isSure && isPeak && isDelayKnown() ? AF_OUTCOME_FOCUSED : AF_OUTCOME_UNSURE;
}

static void learn(const Judging &judging, const FinePass &pass) {
    if (!judging.isWide && pass.curvature > 0)
        learnHalfDepth(looking.tag, sqrtf(kCurvature / pass.curvature));
}

namespace {
struct Attempt {
    FinePass pass;
    Look look; // from where the lens has been put
    int estimate;
    int margin;
    int mostMove; // from there to the vertex, of a pass to be trusted
    bool isSure;
};
} // namespace

static bool standAt(int position, Look *look) {
    return approach(position) && lookHere(look);
}

// Where the peak was not inside, the next pass begins further on.
static void lookElsewhere(const Judging &judging, Attempt *attempt) {
    const int back = static_cast<int>(kBackHalfDepths * judging.unit);
    attempt->estimate += attempt->pass.end == kPeakBefore ? -back : back;
}

// One pass, and what it has found put to the proof. @return false when a command interrupts.
static bool attemptPass(const Judging &judging, Attempt *attempt) {
    FinePass *pass = &attempt->pass;
    runFinePassOver(attempt->estimate, attempt->margin, judging, &samples, pass);
    if (pass->end == kPassBroken)
        return false;
    TRACE_FORMAT_OF("lensFocusCtrl", "Pass: %d top: %d curvature: %d\n", pass->vertex,
                    static_cast<int>(pass->top), static_cast<int>(pass->curvature * 1000));
    const bool isSame = abs(pass->vertex - attempt->estimate) <= attempt->mostMove;
    attempt->mostMove = static_cast<int>(judging.unit);
    attempt->estimate = pass->vertex;
    attempt->margin = static_cast<int>(judging.unit / 2);
    if (pass->end != kPeakInside) {
        lookElsewhere(judging, attempt);
        return true;
    }
    if (!standAt(pass->vertex, &attempt->look))
        return false;
    attempt->isSure = isSame && isConfirmed(judging, *pass, attempt->look);
    return true;
}

// The delay is measured beside the peak, whose value then has to be looked at again.
static bool endAttempts(Attempt *attempt) {
    const int vertex = attempt->pass.vertex;
    if (attempt->pass.end != kPeakInside)
        return standAt(vertex, &attempt->look);
    if (!attempt->isSure || isDelayKnown())
        return true;
    return measureDelay(vertex) && standAt(vertex, &attempt->look);
}

// Passes until one is confirmed. @return the verdict; none: interrupted.
static AF_Outcome_em findTop(const Bracket &bracket, const Judging &judging, unsigned int *value) {
    Attempt attempt;
    attempt.estimate = bracket.estimate;
    attempt.margin = bracket.width / 4;
    attempt.mostMove = INT_MAX;
    attempt.isSure = false;
    for (int passes = 0; passes < kMostPasses && !attempt.isSure; ++passes)
        if (!attemptPass(judging, &attempt))
            return AF_OUTCOME_NONE;
    if (!endAttempts(&attempt))
        return AF_OUTCOME_NONE;
    *value = attempt.look.narrow;
    if (attempt.isSure)
        learn(judging, attempt.pass);
    return judge(judging, attempt.pass, attempt.isSure);
}

static AF_Outcome_em returnTo(int position, unsigned int *value) {
    Look look;
    if (!standAt(position, &look))
        return AF_OUTCOME_NONE;
    *value = look.narrow;
    return AF_OUTCOME_FLAT;
}

static AF_Outcome_em search(int start, unsigned int *value) {
    *value = 0;
    Bracket bracket;
    const BracketOutcome outcome = findBracket(&looks, &bracket);
    if (outcome == kBracketBroken)
        return AF_OUTCOME_NONE;
    if (outcome == kNothingSeen)
        return returnTo(start, value);
    TRACE_FORMAT_OF("lensFocusCtrl", "Bracket: %d width: %d\n", bracket.estimate, bracket.width);
    return findTop(bracket, chooseJudging(summariseRun()), value);
}

// Where no pass has found the peak inside, the light may have changed while the bracket was sought.
unsigned int searchRobustly(int index1, int index2) {
    const int start = static_cast<int>(focusPosition());
    unsigned int value;
    beginLooking(index1, index2);
    AF_Outcome_em verdict = search(start, &value);
    if (verdict == AF_OUTCOME_EDGE)
        verdict = search(start, &value);
    if (isRunBlind() && lensFocusInterrupt() == 0)
        verdict = AF_OUTCOME_BLIND;
    if (verdict != AF_OUTCOME_NONE)
        decideRun(verdict);
    return value;
}
