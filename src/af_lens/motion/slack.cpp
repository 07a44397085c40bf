#include "af_lens/motion/slack.h"

#include "af_lens/model/lens_state.h"
#include "autofocus/host/settings_table.h"
#include "autofocus/moves.h"
#include "autofocus/types.h"
#include "autofocus_control.h"
#include "platform/arithmetic.h"

static const int kBeyond = 12; // a move is surely in the direction that it was driven in

int focusBacklash() {
    return settingOf(AF_SETTING_FOCUS_BACKLASH);
}

void takeUpFocusSlack() {
    const int room = static_cast<int>(focusPosition()) - static_cast<int>(FM_Near_Limit);
    const int steps = minOf(room, focusBacklash() + kBeyond);
    if (focusBacklash() == 0 || steps <= 0)
        return;
    lensMotorFocusRunSteps(MS_F_NEAR, steps);
    lensMotorFocusRunSteps(MS_F_FAR, steps);
}
