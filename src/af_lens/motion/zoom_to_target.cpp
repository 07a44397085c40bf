#include "af_lens/motion/zoom_to_target.h"

#include "af_lens/model/lens_state.h"
#include "af_lens/model/orders.h"
#include "af_lens/motion/motors.h"
#include "af_lens/motion/steps.h"
#include "af_lens/motion/zoom_tracking.h"
#include "af_ms419xx/ms419xx.h"
#include "af_ms419xx/vd_timing.h"
#include "autofocus/moves.h"
#include "platform/trace.h"

// On the target itself nothing is clipped: the step planned there is the one beyond it.
static bool planStepToTarget(MS_Action_em zType, unsigned int target, TrackedStep *step) {
    if (!planTrackedStep(zType, step))
        return false;
    const int remaining = stepsBetween(target, zoomPosition());
    const unsigned char planned = step->zStep;
    if (remaining > 0 && step->zStep > remaining)
        step->zStep = static_cast<unsigned char>(remaining);
    followInProportion(step, planned);
    return true;
}

static void runPeriodsToTarget(MS_Action_em zType, unsigned int target, const char *caller) {
    TrackedStep step;
    // Blocked here, the words of the soft start are still in force: not one more pulse.
    if (!planStepToTarget(zType, target, &step))
        return;
    TrackedStep programmed = step;
    programTrackedStep(zType, programmed);
    while (zoomPosition() != target && !isCancelled()) {
        MS419XX_VDZ(kRunningColumn, step.zStep, step.fStep);
        Lens_Fresh_ZFLocation(zType, step.zStep);
        Lens_Fresh_ZFLocation(step.fType, step.fStep);
        if (!planStepToTarget(zType, target, &step)) {
            TRACE_FORMAT_OF(caller, "To %s, Break.\n",
                            zType == MS_Z_TELE ? "Tele limit" : "Wide limit");
            return;
        }
        if (!isSameStep(step, programmed)) {
            programmed = step;
            programTrackedStep(zType, programmed);
        }
    }
}

void zoomToTarget(MS_Action_em zType, unsigned int target, const char *caller) {
    TrackedStep first;
    if (planStepToTarget(zType, target, &first))
        Lens_Starting(zType, first.zStep, first.fType, first.fStep);
    if (zoomPosition() != target)
        runPeriodsToTarget(zType, target, caller);
    brakeBothChannels();
}
