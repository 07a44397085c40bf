// One autofocus run: a hill climb on one focus value a frame. Runs on the lens-control thread.
#include "autofocus/autofocus_run.h"
#include "af_lens/focus/focus_pass.h"
#include "af_lens/focus/robust/robust_search.h"
#include "af_lens/focus/step_choice.h"
#include "af_lens/focus/verdict/verdict.h"
#include "af_lens/focus/wide_search.h"
#include "af_lens/model/focus_lines.h"
#include "af_lens/model/half_depth.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_lens/motion/focus_runs.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/slack.h"
#include "af_lens/motion/steps.h"
#include "autofocus/host/settings.h"
#include "autofocus/host/settings_table.h"
#include "autofocus/moves.h"
#include "autofocus/persistence.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "autofocus_control.h"
#include "platform/arithmetic.h"
#include "platform/shared_word.h"
#include "platform/trace.h"

#include <string.h>

// A picture far out of focus gets a wide search of its own, which finds the peak by itself. Else
// coarse passes run over the range between the 2 m and the infinity line, a little widened, to and
// fro until one has risen and passed a peak. Fine passes of two steps then run back over the
// neighbourhood of that peak; one that is still rising at its edge goes on to the end of the range.
// Too many passes without a peak end the run at the best position of the last one. A command in the
// mailbox ends it anywhere. Every ending stops the motor, stores the position and publishes it; the
// ones that return to the peak also store its focus value as the refocus trigger's reference.

enum PassOutcome { kPeakPassed = 0, kFlat = 1, kStillRising = 2, kFalling = 3 };

static const SearchTuning kTuningDay = {2, 3, 0.98f};
static const SearchTuning kTuningNight = {5, 5, 0.95f};

// Tag points from which the range is widened further: the depth of focus shrinks toward tele.
static const int kWiderFromTag = 10;
static const int kWidestFromTag = 13;

// ---- The two endings ----

static unsigned int handOver(AF_CMD_em emCmd) {
    const unsigned int command = Lens_Get_Command();
    const bool isOurs =
        command == CMD_ZSTOP || command == CMD_FSTOP || command == static_cast<unsigned int>(emCmd);
    if (!isOurs)
        return command;
    return leaveFollowUp(CMD_NONE);
}

static unsigned int finish(AF_CMD_em emCmd) {
    brakeFocus();
    Lens_Save_ZFLocation();
    Lens_Map_FPosition(focusPosition());
    return handOver(emCmd);
}

// In the direction of the pass that has found it. After one toward near the slack is taken up in
// the direction far, which moves the counter and not the lens: as wherever else the library drives
// to.
static void returnWithSlack(const FocusSearch &search) {
    if (approachFocus(search.fType, search.tagPosition) != 0 || search.fType != MS_F_NEAR)
        return;
    const int room = focusRunRange(MS_F_FAR, FM_Near_Limit, FM_Far_Limit);
    lensMotorFocusRun(MS_F_FAR, minOf(focusBacklash(), room));
}

static unsigned int returnToPeak(AF_CMD_em emCmd, const FocusSearch &search) {
    const unsigned int focus = focusPosition();
    if (focusBacklash() != 0)
        returnWithSlack(search);
    else if (focus != search.tagPosition)
        lensMotorFocusRun(focus < search.tagPosition ? MS_F_FAR : MS_F_NEAR,
                          stepsBetween(focus, search.tagPosition));
    storeWord(&g_AFVClearMax, static_cast<int>(search.afvMax));
    if (lensFocusInterrupt() == 0)
        endJudging();
    return finish(emCmd);
}

// ---- Range and entry ----

// Both ends inside the travel. Only a curve that the host gave unchecked needs it; the search then
// finds nothing, but drives nothing beyond a limit either.
static void keepInsideTravel(FocusSearch *search) {
    search->limitN = minOf(search->limitN, FM_Far_Limit);
    search->limitF = maxOf(search->limitF, FM_Near_Limit);
}

static void widenRange(FocusSearch *search) {
    unsigned int margin = 2u * Step_Level_Max;
    if (search->index1 >= kWidestFromTag)
        margin += 2u * Step_Level_Max;
    else if (search->index1 >= kWiderFromTag)
        margin += Step_Level_Max;
    search->limitN = maxOf(search->limitN - margin, FM_Near_Limit);
    search->limitF = minOf(search->limitF + margin, FM_Far_Limit);
}

// Drive into the range; false when interrupted.
static bool enterRange(FocusSearch *search) {
    const unsigned int focus = focusPosition();
    if (focus <= search->limitN) {
        search->fType = MS_F_FAR;
        return lensMotorFocusRun(MS_F_FAR, stepsBetween(search->limitN, focus)) == 0;
    }
    if (focus >= search->limitF) {
        search->fType = MS_F_NEAR;
        return lensMotorFocusRun(MS_F_NEAR, stepsBetween(focus, search->limitF)) == 0;
    }
    search->fType = g_ZoomDir == MS_Z_TELE ? MS_F_NEAR : MS_F_FAR;
    return true;
}

// ---- Coarse passes ----

static PassOutcome classifyCoarse(const FocusSearch &search) {
    if (search.flagU == 0 && search.flagD == 0 && search.flagH == 0)
        return kFlat;
    if (search.flagU > 0 && search.flagH == 0)
        return kStillRising;
    return search.flagD > 0 ? kFalling : kPeakPassed;
}

// To and fro until a pass has passed a peak; false when none does or a command interrupts.
static bool findCoarsePeak(FocusSearch *search) {
    const unsigned char startStep = search->stepMax >> 1;
    unsigned char step = startStep;
    for (int failed = 0;;) {
        memset(&search->reference, 0, sizeof search->reference);
        beginPass(search, step);
        runCoarsePass(search);
        if (lensFocusInterrupt() != 0)
            return false;
        TRACE_FORMAT_OF("lensFocusCtrl", "flagU: %d flagD: %d flagH: %d afvMax: %d\n",
                        search->flagU, search->flagD, search->flagH,
                        static_cast<int>(search->afvMax));
        if (classifyCoarse(*search) == kPeakPassed)
            return true;
        if (++failed > search->tuning.searchC1)
            return false;
        step = startStep >> 1;
        search->fType = reverseFocus(search->fType);
    }
}

// ---- Fine passes ----

// Narrow the range to the neighbourhood of the peak and drive to its edge; false when interrupted.
static bool enterFineRange(FocusSearch *search) {
    const unsigned int margin = static_cast<unsigned int>(search->flagH + 2) * Step_Level_Min;
    search->limitN = maxOf(search->tagPosition - margin, search->limitN);
    search->limitF = minOf(search->tagPosition + margin, search->limitF);
    search->fType = reverseFocus(search->fType);
    const unsigned int focus = focusPosition();
    int steps = 0;
    if (search->fType == MS_F_FAR && focus < search->limitN)
        steps = stepsBetween(search->limitN, focus);
    else if (search->fType == MS_F_NEAR && focus > search->limitF)
        steps = stepsBetween(focus, search->limitF);
    return lensMotorFocusRun(search->fType, steps) == 0;
}

static PassOutcome classifyFine(const FocusSearch &search) {
    if (search.flagU > 0 && search.flagH < search.tuning.searchC2)
        return kStillRising;
    return search.flagD > 0 ? kFalling : kPeakPassed;
}

// Open the fine range to the search range on the side ahead; false when it is open already.
static bool widenFineRange(FocusSearch *search, unsigned int searchN, unsigned int searchF) {
    if (search->fType == MS_F_FAR && search->limitF < searchF) {
        search->limitF = searchF;
        return true;
    }
    if (search->fType == MS_F_NEAR && search->limitN > searchN) {
        search->limitN = searchN;
        return true;
    }
    return false;
}

static void findFinePeak(FocusSearch *search, unsigned int searchN, unsigned int searchF) {
    beginPass(search, kFineStep);
    for (int failed = 0;;) {
        runFinePass(search);
        if (lensFocusInterrupt() != 0)
            return;
        const PassOutcome outcome = classifyFine(*search);
        if (outcome == kPeakPassed || ++failed > search->tuning.searchC1)
            return;
        if (outcome == kFalling)
            beginPass(search, kFineStep); // anew from here, in the same direction
        else if (!widenFineRange(search, searchN, searchF))
            return; // else the same pass goes on, nothing reset
    }
}

// ---- The run ----

unsigned int lensFocusCtrl(AF_CMD_em emCmd) {
    FocusSearch search;
    memset(&search, 0, sizeof search);
    search.tuning = loadWord(&g_ICUTState) == kIcutNight ? kTuningNight : kTuningDay;
    if (lensFocusInterrupt() != 0)
        return Lens_Get_Command();
    TRACE_TEXT("______Start______");
    lensMotorFocusHoming();
    int index2 = 0;
    if (Lens_Get_ZoomIndex(&search.index1, &index2, zoomPosition()) != 0)
        return finish(emCmd);
    beginJudging(search.index1);
    if (settingOf(AF_SETTING_FOCUS_SEARCH) != 0) {
        search.afvMax = searchRobustly(search.index1, index2);
        if (lensFocusInterrupt() == 0)
            storeWord(&g_AFVClearMax, static_cast<int>(search.afvMax));
        return finish(emCmd);
    }
    forgetHalfDepths();
    Lens_Get_SearchRange(search.index1, index2, &search.limitN, &search.limitF);
    keepInsideTravel(&search);
    search.stepMax = Lens_Get_StepMax(search.limitN, search.limitF);

    const int wide = GreatlyOutOfFocus(search.index1, index2, static_cast<int>(search.limitN),
                                       static_cast<int>(search.limitF), &search.fType,
                                       &search.tagPosition, &search.afvMax);
    if (wide == kWideInterrupted)
        return finish(emCmd);
    if (wide != kWideNotNeeded)
        return returnToPeak(emCmd, search);

    widenRange(&search);
    if (!enterRange(&search))
        return finish(emCmd);
    const unsigned int searchN = search.limitN;
    const unsigned int searchF = search.limitF;
    if (findCoarsePeak(&search) && enterFineRange(&search))
        findFinePeak(&search, searchN, searchF);
    return returnToPeak(emCmd, search);
}
