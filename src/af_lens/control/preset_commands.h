// The handler of the four preset commands. Preset number 202 is reserved: calling it enables the
// refocus trigger, clearing it disables the trigger.
#pragma once

#include "af_lens/model/mailbox.h"
#include "autofocus/types.h"

/// Act on the argument of @p seen and leave the follow-up code in its place; a command that has
/// come meanwhile stays.
bool obeyPresetCommand(AF_CMD_em emCmd, MailboxContent seen);

/// Zoom and focus to the 16-bit positions in the argument, as both stand there. @return whether the
/// focus has arrived.
bool driveToBoth(MailboxContent seen);

/// The focus alone to the 16-bit position in the low half of the argument. @return the same.
bool driveToFocus(MailboxContent seen);
