#include "af_lens/motion/focus_to_position.h"

#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_lens/motion/focus_runs.h"
#include "af_lens/motion/slack.h"
#include "af_lens/motion/steps.h"
#include "autofocus/persistence.h"
#include "autofocus/types.h"

// As focusing by hand, so that the next zoom returns to where the first one began.
bool driveFocusTo(unsigned short rfp, unsigned int standing) {
    const unsigned int target = keepFocusInTravel(focusOfPosition16(rfp));
    const unsigned int focus = focusPosition();
    if (target != focus) {
        lensMotorFocusHomeSet();
        runFocusWhile(target > focus ? MS_F_FAR : MS_F_NEAR, stepsBetween(target, focus), standing);
    }
    if (focusPosition() == target)
        takeUpFocusSlack();
    Lens_Save_ZFLocation();
    return focusPosition() == target;
}
