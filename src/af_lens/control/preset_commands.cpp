#include "af_lens/control/preset_commands.h"

#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "af_lens/motion/focus_to_position.h"
#include "autofocus/lens_control.h"
#include "autofocus/moves.h"
#include "autofocus/preset_table.h"
#include "autofocus/statistics.h"
#include "platform/shared_word.h"
#include "platform/trace.h"

static const unsigned int kRefocusPreset = 202;

static bool callPreset(unsigned int value) {
    if (value != kRefocusPreset)
        return Lens_Goto_Preset(static_cast<int>(value)) == 0;
    storeWord(&g_AutoCheckEnable, 1);
    TRACE_TEXT_OF("lensMotorPreset", "Enable Autofocus Check.");
    return true;
}

static bool clearPreset(unsigned int value) {
    if (value != kRefocusPreset)
        return Lens_Clear_Preset(static_cast<int>(value)) == 0;
    storeWord(&g_AutoCheckEnable, 0);
    TRACE_TEXT_OF("lensMotorPreset", "Disable Autofocus Check.");
    return true;
}

static unsigned short zoomOf(MailboxContent seen) {
    return static_cast<unsigned short>(valueOf(seen) & 0xFFFF);
}

static unsigned short focusOf(MailboxContent seen) {
    return static_cast<unsigned short>(valueOf(seen) >> 16);
}

bool obeyPresetCommand(AF_CMD_em emCmd, MailboxContent seen) {
    bool isDone = true;
    bool refocus = false;
    switch (emCmd) {
    case CMD_SPST:
        isDone = Lens_Set_Preset(static_cast<int>(valueOf(seen))) == 0;
        break;
    case CMD_CAPST:
        isDone = callPreset(valueOf(seen));
        break;
    case CMD_CLPST:
        isDone = clearPreset(valueOf(seen));
        break;
    default: // CMD_DZF
        refocus = Lens_Direct_ZFPosition(zoomOf(seen), focusOf(seen)) != 0;
        break;
    }
    leaveFollowUpOf(seen, refocus ? CMD_FOCUS : CMD_NONE);
    return isDone;
}

bool driveToBoth(MailboxContent seen) {
    Lens_Direct_ZPosition(zoomOf(seen));
    const bool isThere = driveFocusTo(focusOf(seen), commandOf(seen));
    leaveFollowUpOf(seen, CMD_FSTOP);
    return isThere;
}

bool driveToFocus(MailboxContent seen) {
    const bool isThere = driveFocusTo(zoomOf(seen), commandOf(seen));
    leaveFollowUpOf(seen, CMD_FSTOP);
    return isThere;
}

void lensMotorPreset(AF_CMD_em emCmd) {
    obeyPresetCommand(emCmd, readMailbox());
}
