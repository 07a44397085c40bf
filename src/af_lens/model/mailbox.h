// The shared position record: a command mailbox with one slot, and the 16-bit positions.
//
// Any thread may reach it; every field is a word of its own. The record is never freed: at stop
// only the pointer goes, so that a producer that has just read it still writes into live memory.
#pragma once

#include "autofocus/mailbox.h" // IWYU pragma: export
#include "autofocus/types.h"

extern "C" {

static const unsigned int kNoRecord = 0xFFFFFFFFu;

/// Allocate the record zero-filled, so that it starts out holding CMD_ZSTOP; false without memory.
bool createRecord(void);

/// Take the record away from its users; Lens_Set_Command() refuses from now on.
void withdrawRecord(void);

/// What the mailbox holds, a command and its argument; kNoRecord and 0 without a record.
typedef struct {
    unsigned int command;
    unsigned int value;
} MailboxContent;

MailboxContent readMailbox(void);

/// Store command and argument as one; false without a record.
bool storeMailbox(MailboxContent content);

/// Replace @p seen, command and argument, by @p left; what has been stored since then stays.
void exchangeMailbox(MailboxContent seen, MailboxContent left);

/// The same for a command without an argument: only another command is something new.
void exchangeCommand(unsigned int seen, AF_CMD_em left);

/// Publish a 16-bit position; nothing happens without a record.
void publishZoomPosition16(unsigned short position16);
void publishFocusPosition16(unsigned short position16);

/// Whether there is a record to publish into.
bool hasRecord(void);
}
