// Positioning by 16-bit zoom position: restore the position before power-off, recall a preset that
// stands there, or zoom directly.
#include "af_lens/model/focus_lines.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/mailbox.h"
#include "af_lens/model/preset_table.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_lens/motion/counted_move.h"
#include "af_lens/motion/slack.h"
#include "af_lens/motion/steps.h"
#include "af_lens/motion/zoom_to_target.h"
#include "af_lens/motion/zoom_tracking.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "platform/trace.h"

static int first_dzpos = 1; // spent by the first combined move, whether it matches or not

// A request between two quarter points goes to the next one toward tele.
static unsigned int targetOfPosition16(unsigned short rzp) {
    const int point = firstPointAtOrAbove(rzp);
    if (point == kTelePoint)
        return ZM_Tele_Limit;
    const int index1 = point / kQuarters;
    const unsigned int index2 = static_cast<unsigned int>(point % kQuarters);
    return ZM_Step_Run[index1] + ((index2 * sectionLength(index1)) >> 2);
}

int Lens_Direct_ZPosition(unsigned short rzp) {
    unsigned short present = 0;
    if (lensGetZMapPosition(&present) == 0 && rzp == present) {
        TRACE_FORMAT("Has at dstzoomposition %d\n", rzp);
        return 0;
    }
    const unsigned int target = targetOfPosition16(rzp);
    const unsigned int zoom = zoomPosition();
    TRACE_FORMAT("dstPosition: %d ZM_Step_Local: %d\n", static_cast<int>(target),
                 static_cast<int>(zoom));
    if (target == zoom) {
        TRACE_FORMAT("Already at %d.\n", static_cast<int>(zoom));
        return 0;
    }
    const MS_Action_em zType = target > zoom ? MS_Z_TELE : MS_Z_WIDE;
    g_ZoomDir = zType;
    if (!chooseTrackedLine(zType))
        Lens_FCurve_Choise(0, 0);
    zoomToTarget(zType, target, __func__);
    return 0;
}

static bool asksForPowerOffPosition(unsigned short rzp) {
    int index1, index2;
    if (Lens_Get_ZoomIndex(&index1, &index2, ZM_Step_Powoff) != 0)
        return false;
    return rzp == position16OfGridPoint(index1, index2);
}

// The focus from before power-off may be a curve's entry that the host gave unchecked.
static void restorePowerOffPosition() {
    const unsigned int zoom = zoomPosition();
    const unsigned int focus = focusPosition();
    const unsigned int target = keepFocusInTravel(FM_Step_Powoff);
    const int zSteps = stepsBetween(ZM_Step_Powoff, zoom);
    const int fSteps = stepsBetween(target, focus);
    if (zSteps > 0 || fSteps > 0)
        Lens_Move_NSteps(ZM_Step_Powoff >= zoom ? MS_Z_TELE : MS_Z_WIDE, zSteps,
                         target >= focus ? MS_F_FAR : MS_F_NEAR, fSteps);
    takeUpFocusSlack();
    Lens_Map_ZPosition(zoomPosition());
}

int Lens_Direct_ZFPosition(unsigned short rzp, unsigned short rfp) {
    (void)rfp; // focus requests are accepted and not used: an autofocus run follows
    if (first_dzpos == 1) {
        first_dzpos = 0;
        if (asksForPowerOffPosition(rzp)) {
            restorePowerOffPosition();
            return 0;
        }
    }
    const int preset = findPresetAtPosition16(rzp);
    if (preset >= 0) {
        Lens_Goto_Preset(preset);
        return 0;
    }
    Lens_Direct_ZPosition(rzp);
    return 1;
}
