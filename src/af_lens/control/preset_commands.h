// The handler of the four preset commands. Preset number 202 is reserved: calling it enables the
// refocus trigger, clearing it disables the trigger.
#pragma once

#include "af_lens/model/mailbox.h"
#include "autofocus/types.h"

/// Act on the argument of @p seen and leave the follow-up code in its place; a command that has
/// come meanwhile stays.
void obeyPresetCommand(AF_CMD_em emCmd, MailboxContent seen);
