#include "af_lens/motion/counted_move.h"

#include "af_lens/model/lens_state.h"
#include "af_lens/model/orders.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/slack.h"
#include "af_lens/motion/steps.h"
#include "af_ms419xx/ms419xx.h"
#include "autofocus/moves.h"
#include "autofocus/persistence.h"
#include "autofocus/types.h"

// Each axis runs 32, 48, 64, ... 128 steps a period and carries the remainder in its last one;
// there is no ramp down. An axis that has done its total is braked and holds while the other goes
// on. Both stopped, one closing period lets the brakes take effect.

static const unsigned char kRampStep = 16;

namespace {
struct CountedAxis {
    bool isZoom;
    MS_Action_em type;
    int total;
    int done;
    unsigned char step;
    bool stopped;
};
} // namespace

static CountedAxis makeCountedAxis(bool isZoom, MS_Action_em type, int total) {
    const bool isShort = total <= Step_Level_Max;
    const unsigned char step = isShort ? static_cast<unsigned char>(total) : Step_Level_Max;
    return {isZoom, type, total, 0, step, false};
}

static void programAxis(const CountedAxis &axis) {
    MS419XX_Set_PSUM_ICNT_Register(axis.type, axis.step, LED_DISABLE);
}

static void brakeAxis(const CountedAxis &axis) {
    if (axis.isZoom)
        MS419XX_Break_MotorAB(LED_DISABLE);
    else
        MS419XX_Break_MotorCD(LED_DISABLE);
}

static void countPeriod(CountedAxis *axis) {
    if (axis->stopped)
        return;
    axis->done += axis->step;
    if (axis->done == axis->total) {
        axis->stopped = true;
        brakeAxis(*axis);
    }
}

// The next step: first the ramp, then the remainder. The channel is programmed again whenever one
// of the rules has applied, even if the step comes out the same.
static void rampAxis(CountedAxis *axis) {
    if (axis->stopped)
        return;
    bool changed = false;
    if (axis->step < Step_Level_Rst) {
        axis->step = static_cast<unsigned char>(axis->step + kRampStep);
        changed = true;
    }
    if (axis->step + axis->done >= axis->total) {
        axis->step = static_cast<unsigned char>(axis->total - axis->done);
        changed = true;
    }
    if (changed)
        programAxis(*axis);
}

static void runCountedPeriods(CountedAxis *zoom, CountedAxis *focus) {
    for (;;) {
        MS419XX_VDFZ();
        countPeriod(zoom);
        countPeriod(focus);
        const bool isOver = isCancelled() || zoom->done > zoom->total || focus->done > focus->total;
        if (isOver) {
            brakeBothChannels();
            return;
        }
        if (zoom->stopped && focus->stopped) {
            MS419XX_VDFZ();
            return;
        }
        rampAxis(zoom);
        rampAxis(focus);
    }
}

// Before start-up there are no step levels: a period would take no step.
static bool neverArrives(const CountedAxis &axis) {
    return axis.step == 0 && axis.total > 0;
}

void Lens_Move_NSteps(MS_Action_em zType, int zSteps, MS_Action_em fType, int fSteps) {
    CountedAxis zoom = makeCountedAxis(true, zType, zSteps);
    CountedAxis focus = makeCountedAxis(false, fType, fSteps);
    if (neverArrives(zoom) || neverArrives(focus) || isCancelled())
        return;
    programAxis(zoom);
    programAxis(focus);
    runCountedPeriods(&zoom, &focus);
    const bool isCut = isCancelled();
    const int zoomSteps = isCut ? zoom.done : zSteps;
    const int focusSteps = isCut ? focus.done : fSteps;
    const int zoomChange = zType == MS_Z_WIDE ? -zoomSteps : zoomSteps;
    const int focusChange = fType == MS_F_NEAR ? -focusSteps : focusSteps;
    setPosition(zoomPosition() + static_cast<unsigned int>(zoomChange),
                focusPosition() + static_cast<unsigned int>(focusChange));
}

// A curve that came from the host unchecked may ask for a focus outside the travel: the motor goes
// no further than the limit, where storing the position would put the counter anyway.
void Lens_To_Destination(unsigned int desZP, unsigned int desFP) {
    const unsigned int zoom = keepZoomInTravel(desZP);
    const unsigned int focus = keepFocusInTravel(desFP);
    Lens_Move_NSteps(
        zoom > ZM_PI_Position ? MS_Z_TELE : MS_Z_WIDE, stepsBetween(zoom, ZM_PI_Position),
        focus > FM_PI_Position ? MS_F_FAR : MS_F_NEAR, stepsBetween(focus, FM_PI_Position));
    takeUpFocusSlack();
    Lens_Save_ZFLocation();
}
