#include "af_lens/focus/verdict/verdict.h"

#include "af_interface/statistics/frame_noise.h"
#include "af_interface/statistics/shown_position.h"
#include "af_interface/statistics/statistics.h"
#include "af_lens/focus/verdict/clear_difference.h"
#include "af_lens/model/half_depth.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/motion/steps.h"
#include "autofocus_control.h"
#include "platform/arithmetic.h"

static const float kLeastFall = 0.015f;      // of a peak, on both its sides
static const float kFallDeviations = 5;      // or so much noise
static const float kContrastDeviations = 12; // of a run that has seen a picture
static const float kMostBelowRun = 0.15f;    // the last pass below the highest of the run
static const float kMostHalfDepths = 3;      // from its maximum to where the lens stands
static const float kLeastReturn = 0.12f;     // how far the frame afterwards may lie from the peak

namespace {
struct JudgedPass {
    unsigned int maximum;
    unsigned int position; // of the maximum
    unsigned int lowestSoFar;
    unsigned int lowestBefore; // the maximum
    unsigned int lowestAfter;
};

enum Stage { kNoRun, kRunning, kEnded };
} // namespace

static const unsigned int kNothingYet = 0xFFFFFFFFu;
static const unsigned int kLooksToTell = 8;

static Stage stage = kNoRun;
static AF_Outcome_em decided; // AF_OUTCOME_NONE: by the frames
static int tag;
static unsigned int looks;       // frames that were waited for
static unsigned int recordsSeen; // of them those that came
static RunSummary run;
static JudgedPass pass;

// ---- What a run sees

void beginJudging(int index1) {
    stage = kRunning;
    decided = AF_OUTCOME_NONE;
    tag = index1;
    looks = 0;
    recordsSeen = countRecords();
    run = {0, 0, 0, kNothingYet};
    beginJudgedPass();
}

void beginJudgedPass() {
    pass = {0, focusPosition(), kNothingYet, kNothingYet, kNothingYet};
}

// False when the wait has ended without a frame: the value is an older one's, or none.
static bool countFrame(unsigned int afv) {
    looks += 1;
    if (countRecords() == recordsSeen)
        return false;
    recordsSeen = countRecords();
    if (run.frames == 0)
        run.start = afv;
    run.frames += 1;
    run.peak = maxOf(run.peak, afv);
    run.floor = minOf(run.floor, afv);
    return true;
}

void judgeStart(unsigned int afv) {
    countFrame(afv);
}

void judgeFrame(unsigned int afv) {
    if (!countFrame(afv))
        return;
    if (afv > pass.maximum) {
        pass.maximum = afv;
        pass.position = shownPosition();
        pass.lowestBefore = pass.lowestSoFar;
        pass.lowestAfter = kNothingYet;
    } else {
        pass.lowestAfter = minOf(pass.lowestAfter, afv);
    }
    pass.lowestSoFar = minOf(pass.lowestSoFar, afv);
}

void endJudging() {
    stage = kEnded;
}

void decideRun(AF_Outcome_em verdict) {
    decided = verdict;
    endJudging();
}

bool isRunToJudge() {
    return stage != kNoRun;
}

static bool areFramesMissing() {
    return run.frames * 2 < looks;
}

bool isRunBlind() {
    return looks > kLooksToTell && areFramesMissing();
}

bool isRunComplete() {
    return stage == kEnded;
}

RunSummary summariseRun() {
    const RunSummary seen = {run.frames, run.start, run.peak, run.frames == 0 ? 0 : run.floor};
    return seen;
}

// ---- The verdict

static bool hasFallen(unsigned int lowest, float share) {
    return lowest != kNothingYet && isClearlyLower(lowest, pass.maximum, share);
}

static bool hasSeenPicture(float noise) {
    return isClearlyHigher(run.peak, maxOf(run.floor, 1u), kContrastDeviations * noise);
}

static bool standsOnMaximum() {
    const float away = static_cast<float>(stepsBetween(focusPosition(), pass.position));
    return away <= kMostHalfDepths * halfDepthSteps(tag);
}

static AF_Outcome_em judgePeak(float noise) {
    const float fall = clearShare(kLeastFall, kFallDeviations, noise);
    if (!hasFallen(pass.lowestAfter, fall))
        return hasFallen(pass.lowestBefore, fall) ? AF_OUTCOME_EDGE : AF_OUTCOME_UNSURE;
    const bool isHighest = !isClearlyLower(pass.maximum, run.peak, kMostBelowRun);
    const bool isPeak = hasFallen(pass.lowestBefore, fall) && isHighest && standsOnMaximum();
    return isPeak ? AF_OUTCOME_FOCUSED : AF_OUTCOME_UNSURE;
}

static AF_Outcome_em judgeFrames(unsigned int frameAfterwards) {
    const float noise = noiseShareAt(tag);
    if (!hasSeenPicture(noise))
        return AF_OUTCOME_FLAT;
    const AF_Outcome_em verdict = judgePeak(noise);
    const float mostAway = clearShare(kLeastReturn, kFallDeviations, noise);
    const bool isOther = isClearlyOther(frameAfterwards, pass.maximum, mostAway);
    return verdict == AF_OUTCOME_FOCUSED && isOther ? AF_OUTCOME_UNSURE : verdict;
}

AF_Outcome_em judgeRun(bool waits) {
    const Stage judged = stage;
    stage = kNoRun;
    if (judged != kEnded)
        return AF_OUTCOME_REPLACED;
    AF_Statistics_Info record = latestStatistics();
    for (int late = framesUntilShown(); waits && decided == AF_OUTCOME_NONE && late >= 0; --late)
        afStatisticsFresh(&record);
    if (areFramesMissing())
        return AF_OUTCOME_BLIND;
    if (decided != AF_OUTCOME_NONE)
        return decided;
    return judgeFrames(focusValueAt(tag, record));
}
