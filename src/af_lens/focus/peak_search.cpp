#include "af_lens/focus/peak_search.h"

#include "af_interface/statistics/statistics.h"
#include "af_lens/focus/focus_pass.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/orders.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/steps.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/calibration.h" // IWYU pragma: keep (it exports what is defined here)
#include "autofocus/moves.h"
#include "platform/trace.h"

#include <unistd.h>

// Coarse passes run to and fro, to the ends of the travel if need be, until one has risen above the
// limit and then passed a peak without a fall before it. A fine pass of two steps runs back over
// the peak. A target without a peak would make the coarse passes repeat for ever, hence their
// bound: a good target needs three at most.

static const int kMostFruitlessPasses = 12;
static const int kMostHillSamples = 3;
static const double kHillShare = 0.98;

unsigned int g_AFVDLimit = 4000;
unsigned int g_AFVULimit = 0xFFFFFFFFu;
static const useconds_t kTurnUs = 100000;

namespace {
struct PassState {
    unsigned int maximum;
    unsigned int minimum;
    int rises;
    int falls;
    int hills;
};
} // namespace

static const char *nameFocusDirection(MS_Action_em fType) {
    return fType == MS_F_FAR ? "Far" : "Near";
}

static const char *nameLimit(MS_Action_em fType) {
    return fType == MS_F_FAR ? "Far Limit" : "Near Limit";
}

static void traceSample(const CalibrationRun &run, unsigned int afv) {
    const int focus = static_cast<int>(focusPosition());
    const int value = static_cast<int>(afv);
    tracePrefix(run.name, __LINE__);
    switch (run.sampleTrace) {
    case kTraceDirection:
        printf("To %s FM: %d afv: %d\n", run.fType == MS_F_FAR ? "Far " : "Near", focus, value);
        break;
    case kTracePosition:
        printf("fml: %d afv: %d\n", focus, value);
        break;
    case kTraceValue:
        printf("afv: %d\n", value);
        break;
    }
}

static PassState startPass(const CalibrationRun &run) {
    return {run.startMaximum, run.startMinimum, 0, 0, 0};
}

// Move one group, clipped to the travel, and take the frame that follows; false at the limit.
static bool takeSample(const CalibrationRun &run, unsigned char *step, unsigned int *afv) {
    const int travel = focusRunRange(run.fType, FM_Near_Limit, FM_Far_Limit);
    if (!hasWayOn(travel, *step) || isCancelled())
        return false;
    clipFocusStep(run.fType, travel, step);
    MS419XX_VDF();
    Lens_Fresh_ZFLocation(run.fType, *step);
    AF_Statistics_Info record;
    afStatisticsFresh(&record);
    *afv = record.vwV1SumHalf; // whatever the zoom position
    traceSample(run, *afv);
    return true;
}

// True for a new maximum, which is a rise unless it is the first above the starting value.
static bool judgeRise(CalibrationRun *run, PassState *pass, unsigned int afv) {
    if (afv <= pass->maximum)
        return false;
    if (pass->maximum != run->startMaximum)
        pass->rises += 1;
    pass->maximum = afv;
    run->tagPosition = focusPosition();
    return true;
}

static bool hasFallenTooOften(const CalibrationRun &run, PassState *pass, unsigned int afv) {
    if (pass->rises != 0 || afv >= pass->minimum)
        return false;
    if (pass->minimum != run.startMinimum)
        pass->falls += 1;
    pass->minimum = afv;
    if (pass->falls <= run.fallLimit)
        return false;
    TRACE_FORMAT_OF(run.name, "Dir %s is wrong.\n", nameFocusDirection(run.fType));
    return true;
}

static bool hasPassedPeak(const CalibrationRun &run, PassState *pass, unsigned int afv) {
    const bool below = static_cast<double>(afv) < static_cast<double>(pass->maximum) * kHillShare;
    if (pass->rises == 0 || !below)
        return false;
    pass->hills += 1;
    if (pass->hills <= kMostHillSamples)
        return false;
    TRACE_FORMAT_OF(run.name, "tagPosition: %d tagNum: %d\n", static_cast<int>(run.tagPosition),
                    run.tagNumber);
    return true;
}

// True when the pass has passed a peak.
static bool runCoarsePass(CalibrationRun *run) {
    PassState pass = startPass(*run);
    unsigned char step = run->coarseStep;
    MS419XX_Set_PSUM_ICNT_RegofFocus(run->fType, step);
    run->tagPosition = focusPosition();
    for (;;) {
        unsigned int afv;
        if (!takeSample(*run, &step, &afv)) {
            TRACE_FORMAT_OF(run->name, run->coarseEndFormat, nameLimit(run->fType));
            break;
        }
        if (judgeRise(run, &pass, afv))
            pass.falls = pass.hills = 0;
        if (pass.maximum <= g_AFVDLimit)
            continue;
        if (hasFallenTooOften(*run, &pass, afv) || hasPassedPeak(*run, &pass, afv))
            break;
    }
    brakeFocus();
    TRACE_FORMAT_OF(run->name, "flagUp: %d flagHill: %d flagDown: %d\n", pass.rises, pass.hills,
                    pass.falls);
    return pass.falls == 0 && pass.hills > 0;
}

static void runFinePassBack(CalibrationRun *run) {
    TRACE_TEXT_OF(run->name, "Small Focus.");
    PassState pass = startPass(*run);
    run->fType = reverseFocus(run->fType);
    unsigned char step = kFineStep;
    run->tagPosition = focusPosition();
    MS419XX_Set_PSUM_ICNT_RegofFocus(run->fType, step);
    for (;;) {
        unsigned int afv;
        if (!takeSample(*run, &step, &afv)) {
            TRACE_FORMAT_OF(run->name, "At %s\n", nameLimit(run->fType));
            break;
        }
        judgeRise(run, &pass, afv); // the hill samples stay
        if (hasPassedPeak(*run, &pass, afv))
            break;
    }
    brakeFocus();
}

bool findCalibrationPeak(CalibrationRun *run) {
    for (int fruitless = 0; !runCoarsePass(run);) {
        if (++fruitless >= kMostFruitlessPasses || isCancelled())
            return false;
        run->fType = reverseFocus(run->fType);
        usleep(kTurnUs);
    }
    usleep(kTurnUs);
    runFinePassBack(run);
    if (isCancelled())
        return false;
    if (run->settleUs != 0)
        usleep(run->settleUs);
    return true;
}
