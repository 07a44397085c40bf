#include "af_lens/focus/wide_search.h"

#include "af_interface/statistics/shown_position.h"
#include "af_interface/statistics/statistics.h"
#include "af_lens/focus/verdict/verdict.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/steps.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/autofocus_run.h"
#include "autofocus/host/settings.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "platform/arithmetic.h"
#include "platform/shared_word.h"

// A low focus value says that the peak is far away. The range is enlarged; up to three wide passes,
// each against the direction of the one before, run over it in large steps that grow while nothing
// is seen. One that has risen and then fallen clearly, by both focus values, has found a peak; a
// short fine pass back over it finds the position. Without a peak the lens is to return to where it
// stood.

static const unsigned int kLowContrast = 1600;
static const unsigned int kVeryLowContrast = 800;
static const unsigned char kFineStepDay = 2;
static const int kMostFailedPasses = 2;
static const int kMostWideFlags = 3;
static const int kMostFineFlags = 4;
static const double kHillShare = 0.85;
static const double kFineHillShare = 0.98;

namespace {
struct WideSearch {
    int index1;
    int icutState;
    int limitN; // range in force
    int limitF;
    MS_Action_em fType;
    unsigned char fStep;
    unsigned int first; // this frame's two focus values
    unsigned int second;
    unsigned int firstMax;
    unsigned int firstMin; // survives into the fine pass
    unsigned int secondMax;
    unsigned int tagPeak;
    int flagU; // new maxima
    int flagD; // significant new minima
    int flagH; // samples clearly below the maxima, never reset within a pass
};
} // namespace

static bool isBelow(unsigned int value, unsigned int maximum, double share) {
    return static_cast<double>(value) < static_cast<double>(maximum) * share;
}

static void readFrame(WideSearch *search) {
    AF_Statistics_Info record;
    afStatisticsFresh(&record);
    search->first = focusValueAt(search->index1, record);
    search->second = secondFocusValueAt(search->index1, record);
}

static bool takeSample(WideSearch *search) {
    const int runRange = focusRunRange(search->fType, static_cast<unsigned int>(search->limitN),
                                       static_cast<unsigned int>(search->limitF));
    if (!hasWayOn(runRange, search->fStep))
        return false;
    clipFocusStep(search->fType, runRange, &search->fStep);
    MS419XX_VDF();
    Lens_Fresh_ZFLocation(search->fType, search->fStep);
    readFrame(search);
    judgeFrame(search->first);
    return true;
}

static void judgeMaximum(WideSearch *search) {
    if (search->first <= search->firstMax)
        return;
    search->firstMax = search->first;
    search->tagPeak = shownPosition();
    search->flagD = 0;
    search->flagU += 1;
}

static void judgeSecondMaximum(WideSearch *search) {
    if (search->second > search->secondMax)
        search->secondMax = search->second;
}

// ---- Wide pass ----

static bool isSignificantFall(const WideSearch &search) {
    if (search.icutState != kIcutDay)
        return isBelow(search.first, search.firstMax, kHillShare);
    const double share = search.firstMax < kVeryLowContrast ? 0.92 : 0.98;
    return isBelow(search.second, search.secondMax, share);
}

static bool hasFallenTooOften(WideSearch *search) {
    if (search->first >= search->firstMin)
        return false;
    search->firstMin = search->first;
    if (isSignificantFall(*search))
        search->flagD += 1;
    return search->flagD > kMostWideFlags;
}

static bool hasPassedPeak(WideSearch *search) {
    const double secondShare = search->icutState == kIcutDay ? 0.88 : 0.98;
    const bool belowBoth = isBelow(search->first, search->firstMax, kHillShare) &&
                           isBelow(search->second, search->secondMax, secondShare);
    if (search->flagU > 0 && belowBoth)
        search->flagH += 1;
    return search->flagH > kMostWideFlags;
}

static unsigned char chooseWideStep(const WideSearch &search) {
    if (search.flagH > 0 || search.flagD > 1)
        return Step_Level_Min;
    const bool lowContrast = search.firstMax < kLowContrast;
    if (search.icutState != kIcutDay)
        return lowContrast ? Step_Level_Mid : Step_Level_Min;
    if (!lowContrast)
        return Step_Level_Mid;
    return search.fStep < Step_Level_Hig ? static_cast<unsigned char>(search.fStep + Step_Level_Min)
                                         : search.fStep;
}

static void beginWidePass(WideSearch *search) {
    readFrame(search);
    beginJudgedPass();
    judgeFrame(search->first);
    search->fStep = Step_Level_Min;
    MS419XX_Set_PSUM_ICNT_RegofFocus(search->fType, search->fStep);
    search->flagU = search->flagD = search->flagH = 0;
    search->firstMax = search->firstMin = search->first;
    search->secondMax = search->second;
    search->tagPeak = focusPosition();
}

static void runWidePass(WideSearch *search) {
    beginWidePass(search);
    while (lensFocusInterrupt() == 0 && takeSample(search)) {
        judgeMaximum(search);
        judgeSecondMaximum(search);
        if (hasFallenTooOften(search) || hasPassedPeak(search))
            break;
        const unsigned char next = chooseWideStep(*search);
        if (next != search->fStep) {
            search->fStep = next;
            MS419XX_Set_PSUM_ICNT_RegofFocus(search->fType, next);
        }
    }
    brakeFocus();
}

// ---- Fine pass ----

static void enterFineRange(WideSearch *search) {
    const int focus = static_cast<int>(focusPosition());
    const int peak = static_cast<int>(search->tagPeak);
    const bool ranFar = search->fType == MS_F_FAR;
    const int focusF = ranFar ? focus : peak + Step_Level_Max;
    const int focusN = ranFar ? peak - Step_Level_Max : focus;
    search->limitF = minOf(focusF, search->limitF);
    search->limitN = maxOf(focusN, search->limitN);
}

static void beginFinePass(WideSearch *search) {
    search->flagU = search->flagD = search->flagH = 0;
    search->firstMax = search->secondMax = 0;
    search->fStep = search->icutState != kIcutDay ? Step_Level_Uit : kFineStepDay;
    search->fType = reverseFocus(search->fType);
    MS419XX_Set_PSUM_ICNT_RegofFocus(search->fType, search->fStep);
    search->tagPeak = focusPosition();
    beginJudgedPass();
}

static void runFinePassBack(WideSearch *search) {
    beginFinePass(search);
    while (lensFocusInterrupt() == 0 && takeSample(search)) {
        judgeMaximum(search);
        if (search->first < search->firstMin) {
            search->firstMin = search->first;
            if (++search->flagD > kMostFineFlags)
                break;
        }
        judgeSecondMaximum(search);
        const bool belowBoth = isBelow(search->first, search->firstMax, kFineHillShare) &&
                               isBelow(search->second, search->secondMax, kFineHillShare);
        if (search->flagU > 0 && belowBoth && ++search->flagH > kMostFineFlags)
            break;
    }
    brakeFocus();
}

// ---- The search ----

static void enlargeRange(WideSearch *search, int limitN, int limitF) {
    const int margin = 4 * Step_Level_Max * (search->icutState + 1);
    search->limitN = maxOf(limitN - margin, static_cast<int>(FM_Near_Limit));
    search->limitF = minOf(limitF + margin, static_cast<int>(FM_Far_Limit));
}

// Drive into the range that was not enlarged; false when interrupted.
static bool enterRange(WideSearch *search, int limitN, int limitF) {
    const int focus = static_cast<int>(focusPosition());
    if (limitN > focus) {
        search->fType = MS_F_FAR;
        return lensMotorFocusRun(MS_F_FAR, limitN - focus) == 0;
    }
    if (limitF < focus) {
        search->fType = MS_F_NEAR;
        return lensMotorFocusRun(MS_F_NEAR, focus - limitF) == 0;
    }
    search->fType = g_ZoomDir == MS_Z_TELE ? MS_F_NEAR : MS_F_FAR;
    return true;
}

// Wide passes to and fro until one has passed a peak.
static WideSearchResult findWidePeak(WideSearch *search) {
    for (int failed = 0;;) {
        runWidePass(search);
        if (lensFocusInterrupt() != 0)
            return kWideInterrupted;
        if (search->flagH > 0)
            return kWidePeakFound;
        if (++failed > kMostFailedPasses)
            return kWideGaveUp;
        search->fType = reverseFocus(search->fType);
    }
}

int GreatlyOutOfFocus(int index1, int, int limitN, int limitF, MS_Action_em *type,
                      unsigned int *tag, unsigned int *afvMax) {
    WideSearch search = {};
    search.index1 = index1;
    readFrame(&search);
    judgeStart(search.first);
    for (int late = framesUntilShown(); late >= 0; --late)
        readFrame(&search); // after the first record they are surely of this position
    judgeStart(search.first);
    if (search.first > kLowContrast)
        return kWideNotNeeded;

    search.icutState = loadWord(&g_ICUTState);
    const unsigned int startPostion = focusPosition();
    enlargeRange(&search, limitN, limitF);
    if (!enterRange(&search, limitN, limitF))
        return kWideInterrupted;

    const WideSearchResult found = findWidePeak(&search);
    if (found == kWideInterrupted)
        return kWideInterrupted;
    if (found == kWidePeakFound) {
        enterFineRange(&search);
        runFinePassBack(&search);
        if (lensFocusInterrupt() != 0)
            return kWideInterrupted;
    }
    *type = search.fType;
    *tag = found == kWidePeakFound ? search.tagPeak : startPostion;
    *afvMax = search.firstMax;
    return found;
}
