#include "af_lens/control/preset_commands.h"

#include "af_lens/model/mailbox.h"
#include "autofocus/lens_control.h"
#include "autofocus/moves.h"
#include "autofocus/preset_table.h"
#include "autofocus/statistics.h"
#include "platform/shared_word.h"
#include "platform/trace.h"

static const unsigned int kRefocusPreset = 202;

static void callPreset(unsigned int value) {
    if (value != kRefocusPreset) {
        Lens_Goto_Preset(static_cast<int>(value));
        return;
    }
    storeWord(&g_AutoCheckEnable, 1);
    TRACE_TEXT_OF("lensMotorPreset", "Enable Autofocus Check.");
}

static void clearPreset(unsigned int value) {
    if (value != kRefocusPreset) {
        Lens_Clear_Preset(static_cast<int>(value));
        return;
    }
    storeWord(&g_AutoCheckEnable, 0);
    TRACE_TEXT_OF("lensMotorPreset", "Disable Autofocus Check.");
}

void obeyPresetCommand(AF_CMD_em emCmd, MailboxContent seen) {
    bool refocus = false;
    switch (emCmd) {
    case CMD_SPST:
        Lens_Set_Preset(static_cast<int>(seen.value));
        break;
    case CMD_CAPST:
        callPreset(seen.value);
        break;
    case CMD_CLPST:
        clearPreset(seen.value);
        break;
    default: // CMD_DZF
        refocus = Lens_Direct_ZFPosition(static_cast<unsigned short>(seen.value & 0xFFFF),
                                         static_cast<unsigned short>(seen.value >> 16)) != 0;
        break;
    }
    leaveFollowUpOf(seen, refocus ? CMD_FOCUS : CMD_NONE);
}

void lensMotorPreset(AF_CMD_em emCmd) {
    obeyPresetCommand(emCmd, readMailbox());
}
