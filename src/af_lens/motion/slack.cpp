#include "af_lens/motion/slack.h"

#include "af_lens/model/lens_state.h"
#include "af_lens/motion/steps.h"
#include "autofocus/host/settings_table.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "autofocus_control.h"

static const int kBeyond = 12; // a move is surely in the direction that it was driven in

int focusBacklash() {
    return settingOf(AF_SETTING_FOCUS_BACKLASH);
}

static unsigned int startOfRunUp(MS_Action_em fType, unsigned int target) {
    const unsigned int runUp = static_cast<unsigned int>(focusBacklash() + kBeyond);
    return keepFocusInTravel(fType == MS_F_FAR ? target - runUp : target + runUp);
}

static int runFocusTo(unsigned int target) {
    const unsigned int focus = focusPosition();
    return lensMotorFocusRun(target > focus ? MS_F_FAR : MS_F_NEAR, stepsBetween(target, focus));
}

int approachFocus(MS_Action_em fType, unsigned int target) {
    const unsigned int start = startOfRunUp(fType, target);
    const bool isBefore = fType == MS_F_FAR ? focusPosition() <= start : focusPosition() >= start;
    if (!isBefore && runFocusTo(start) != 0)
        return 1;
    return runFocusTo(target);
}

void takeUpFocusSlack() {
    const unsigned int focus = focusPosition();
    const int steps = stepsBetween(focus, startOfRunUp(MS_F_FAR, focus));
    if (focusBacklash() == 0 || steps == 0)
        return;
    lensMotorFocusRunSteps(MS_F_NEAR, steps);
    lensMotorFocusRunSteps(MS_F_FAR, steps);
}
