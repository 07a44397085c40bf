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

/// A command and its argument as they lie in the record, in a word that goes through registers.
typedef unsigned long long MailboxContent;

static const int kCommandShift = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ ? 0 : 32;
static const int kValueShift = 32 - kCommandShift;

constexpr MailboxContent makeContent(unsigned int command, unsigned int value) {
    return static_cast<MailboxContent>(command) << kCommandShift |
           static_cast<MailboxContent>(value) << kValueShift;
}

constexpr unsigned int commandOf(MailboxContent content) {
    return static_cast<unsigned int>(content >> kCommandShift);
}

constexpr unsigned int valueOf(MailboxContent content) {
    return static_cast<unsigned int>(content >> kValueShift);
}

/// What the mailbox holds; kNoRecord and 0 without a record.
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
