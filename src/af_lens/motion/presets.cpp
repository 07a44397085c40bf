// Driving the lens to a preset. Runs on the lens-control thread; no command interrupts the move.
#include "af_lens/model/lens_state.h"
#include "af_lens/model/object_line.h"
#include "af_lens/model/preset_table.h"
#include "af_lens/motion/slack.h"
#include "af_lens/motion/steps.h"
#include "af_lens/motion/zoom_to_target.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "platform/trace.h"

int Lens_Goto_Preset(int pst) {
    if (!isPresetNumber(pst)) {
        printf("__%s__Invaled preset %d__\n", __func__, pst);
        return -1;
    }
    unsigned int zLocation, fLocation;
    readPreset(pst, &zLocation, &fLocation);
    if (!isInsideLimits(zLocation, fLocation)) { // an empty preset ends here
        printf("__%s Error zp = %d or fp = %d.\n", __func__, static_cast<int>(zLocation),
               static_cast<int>(fLocation));
        return -1;
    }
    TRACE_FORMAT("zLocation = %d fLocation = %d__\n", static_cast<int>(zLocation),
                 static_cast<int>(fLocation));
    if (zLocation == zoomPosition() && fLocation == focusPosition())
        return 0;

    // Else the line that tracking follows, and the direction of the last zoom, stay as they are.
    chooseObjectLine();
    if (zLocation != zoomPosition())
        zoomToTarget(zLocation > zoomPosition() ? MS_Z_TELE : MS_Z_WIDE, zLocation, __func__);
    if (fLocation != focusPosition())
        lensMotorFocusRunSteps(fLocation > focusPosition() ? MS_F_FAR : MS_F_NEAR,
                               stepsBetween(fLocation, focusPosition()));
    takeUpFocusSlack();
    if (zLocation != zoomPosition() && fLocation != focusPosition())
        TRACE_TEXT("Failure !!!");
    return 0;
}
