#include "af_lens/motion/zoom_tracking.h"

#include "af_lens/model/focus_lines.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/object_line.h"
#include "af_lens/model/orders.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/motion/focus_runs.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/steps.h"
#include "af_ms419xx/ms419xx.h"
#include "af_ms419xx/vd_timing.h"
#include "autofocus/mailbox.h"
#include "autofocus/moves.h"
#include "autofocus/persistence.h"
#include "platform/trace.h"

static const unsigned char kEndOfGridStep = 16;

static MS_Action_em focusDirection(unsigned int from, unsigned int to) {
    if (from == to)
        return MS_NONE;
    return from < to ? MS_F_FAR : MS_F_NEAR;
}

// A position outside the grid leaves the indices at (0, 0).
void Lens_Get_DirAndStep2(MS_Action_em type, unsigned char *zStep, unsigned char *fStep,
                          MS_Action_em *focusDir) {
    int index1 = 0;
    int index2 = 0;
    Lens_Get_ZoomIndex(&index1, &index2, zoomPosition());
    const bool atWideEnd = index1 == 0 && index2 == 0 && type != MS_Z_TELE;
    const bool atTeleEnd = index1 == kTeleTag && type == MS_Z_TELE;
    if (atWideEnd || atTeleEnd) {
        *zStep = kEndOfGridStep;
        *fStep = 0;
        *focusDir = MS_NONE;
        TRACE_FORMAT("index1: %d index2: %d type: %d\n", index1, index2, static_cast<int>(type));
        return;
    }

    const unsigned int(*line)[kQuarters] = Lens_Get_FocusLine()->tagPosition;
    const unsigned int current = line[index1][index2];
    unsigned int target;
    if (type == MS_Z_TELE) {
        target = index2 < kQuarters - 1 ? line[index1][index2 + 1] : line[index1 + 1][0];
    } else { // the stretch lies before the grid point, possibly in the section before it
        if (index2 == 0) {
            --index1;
            index2 = kQuarters;
        }
        --index2;
        target = line[index1][index2];
    }
    *focusDir = focusDirection(current, target);
    *fStep = Lens_Get_FocusStep(index1, index2);
    *zStep = static_cast<unsigned char>(quarterLength(index1) & 0xFF);
}

void followInProportion(TrackedStep *step, unsigned char planned) {
    if (isObjectFollowed() && step->zStep < planned)
        step->fStep = static_cast<unsigned char>(static_cast<unsigned int>(step->fStep) *
                                                 step->zStep / planned);
}

bool chooseTrackedLine(MS_Action_em zType) {
    return chooseObjectLine() || chooseLineToward(zType);
}

// From between two grid points to one of them: the stretch of line that belongs to it.
static void planToGrid(MS_Action_em zType, TrackedStep *step) {
    GridPlace place;
    if (!findGridPlace(&place) || place.way == 0)
        return;
    const bool isToTele = zType == MS_Z_TELE;
    const unsigned int steps = isToTele ? place.quarter - place.way : place.way;
    const unsigned int *line = Lens_Get_FocusLine()->tagPosition[0] + place.point;
    step->fType = focusDirection(line[isToTele ? 0 : 1], line[isToTele ? 1 : 0]);
    step->zStep = static_cast<unsigned char>(steps);
    step->fStep = static_cast<unsigned char>(
        static_cast<unsigned int>(stepsBetween(line[0], line[1])) * steps / place.quarter);
}

// Without a grid, before start-up, a step is none, and no move would come to an end.
bool planTrackedStep(MS_Action_em zType, TrackedStep *step) {
    Lens_Get_DirAndStep2(zType, &step->zStep, &step->fStep, &step->fType);
    if (isObjectFollowed())
        planToGrid(zType, step);
    const unsigned char planned = step->zStep;
    const int blocked =
        Lens_Check_AllowanceForSteps(zType, &step->zStep, step->fType, &step->fStep);
    followInProportion(step, planned);
    return BIT(blocked, kZoomBlocked) == 0 && step->zStep != 0;
}

void programTrackedStep(MS_Action_em zType, const TrackedStep &step) {
    MS419XX_Set_PSUM_ICNT_RegSync(kRunningColumn, zType, step.zStep, step.fType, step.fStep,
                                  LED_DISABLE);
}

bool isSameStep(const TrackedStep &a, const TrackedStep &b) {
    return a.zStep == b.zStep && a.fStep == b.fStep && a.fType == b.fType;
}

void Lens_Starting(MS_Action_em zType, unsigned char zStep, MS_Action_em fType,
                   unsigned char fStep) {
    Lens_Fresh_ZFLocation(zType, zStep);
    Lens_Fresh_ZFLocation(fType, fStep);

    const unsigned char z1 = zStep >> 2;
    const unsigned char f1 = fStep >> 2;
    MS419XX_Set_PSUM_ICNT_RegSync(kFirstPeriodColumn, zType, z1, fType, f1, LED_DISABLE);
    MS419XX_VDZ(kFirstPeriodColumn, z1, f1);

    const unsigned char z2 = static_cast<unsigned char>(zStep - z1);
    const unsigned char f2 = static_cast<unsigned char>(fStep - f1);
    MS419XX_Set_PSUM_ICNT_RegSync(kRunningColumn, zType, z2, fType, f2, LED_DISABLE);
    MS419XX_VDZ(kRunningColumn, z2, f2);
}

// Periods until another command arrives or the zoom reaches its limit. The counters take each step
// before it is driven, so that planning sees the position at the end of the pending period.
static void trackUntilInterrupted(AF_CMD_em emCmd, MS_Action_em zType) {
    TrackedStep step;
    if (lensMotorInterrupt(emCmd) != 0 || !planTrackedStep(zType, &step))
        return;
    TrackedStep programmed = step;
    programTrackedStep(zType, programmed);
    while (lensMotorInterrupt(emCmd) == 0) {
        Lens_Fresh_ZFLocation(zType, step.zStep);
        Lens_Fresh_ZFLocation(step.fType, step.fStep);
        MS419XX_VDZ(kRunningColumn, step.zStep, step.fStep);
        if (!planTrackedStep(zType, &step))
            return;
        if (!isSameStep(step, programmed)) {
            programmed = step;
            programTrackedStep(zType, programmed);
        }
    }
}

unsigned int lensMotorZoomCtrl(AF_CMD_em emCmd) {
    lensMotorFocusHoming();
    Lens_Print_Location();
    const MS_Action_em zType = emCmd == CMD_WIDE ? MS_Z_WIDE : MS_Z_TELE;
    TRACE_FORMAT("To %s.\n", zType == MS_Z_WIDE ? "Wide" : "Tele");
    g_ZoomDir = zType;
    if (!chooseTrackedLine(zType))
        return CMD_NONE;

    TrackedStep first;
    if (planTrackedStep(zType, &first)) {
        Lens_Starting(zType, first.zStep, first.fType, first.fStep);
        trackUntilInterrupted(emCmd, zType);
        brakeBothChannels();
        Lens_Save_ZFLocation();
    }
    return leaveFollowUp(CMD_ZSTOP);
}
