#include "af_lens/model/mailbox.h"

#include "platform/shared_word.h"

#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>

Lens_ShaPos_ST *g_ShaPosInfo = nullptr;

static __attribute__((noinline)) Lens_ShaPos_ST *presentRecord() {
    return loadWord(&g_ShaPosInfo);
}

bool createRecord(void) {
    storeWord(&g_ShaPosInfo, static_cast<Lens_ShaPos_ST *>(calloc(1, sizeof(Lens_ShaPos_ST))));
    return hasRecord();
}

void withdrawRecord(void) {
    storeWord(&g_ShaPosInfo, nullptr);
}

bool hasRecord(void) {
    return presentRecord() != nullptr;
}

unsigned int Lens_Get_Command(void) {
    const Lens_ShaPos_ST *record = presentRecord();
    return record == nullptr ? kNoRecord : loadWord(&record->shCommand);
}

int Lens_Set_Command(unsigned int cmd) {
    Lens_ShaPos_ST *record = presentRecord();
    if (record == nullptr)
        return -1;
    storeWord(&record->shCommand, cmd);
    return 0;
}

// ---- Command and argument at once ----
//
// A producer of two stores can be held up between them. Where the processor has it, what comes from
// here is one access of twice the size; the oldest processors have none, and none has it for a
// record that a host or a plain allocator has put anywhere. There the argument goes first and is
// read last.

typedef MailboxContent __attribute__((may_alias)) MailboxWord;

static const bool kHasAccessToBoth = __atomic_always_lock_free(sizeof(MailboxContent), nullptr);

static_assert(offsetof(Lens_ShaPos_ST, shCommand) == 0 && offsetof(Lens_ShaPos_ST, shValue) == 4,
              "the record begins with command and argument");

static bool isAligned(const Lens_ShaPos_ST *record) {
    return reinterpret_cast<uintptr_t>(record) % sizeof(MailboxContent) == 0;
}

static void storeContent(Lens_ShaPos_ST *record, MailboxContent content) {
    if constexpr (kHasAccessToBoth) {
        if (isAligned(record)) {
            __atomic_store_n(reinterpret_cast<MailboxWord *>(record), content, __ATOMIC_RELEASE);
            return;
        }
    }
    storeWord(&record->shValue, valueOf(content));
    storeWord(&record->shCommand, commandOf(content));
}

static MailboxContent loadContent(const Lens_ShaPos_ST *record) {
    if constexpr (kHasAccessToBoth) {
        if (isAligned(record))
            return __atomic_load_n(reinterpret_cast<const MailboxWord *>(record), __ATOMIC_ACQUIRE);
    }
    const unsigned int command = loadWord(&record->shCommand);
    return makeContent(command, loadWord(&record->shValue));
}

static void exchangeContent(Lens_ShaPos_ST *record, MailboxContent seen, MailboxContent left) {
    if constexpr (kHasAccessToBoth) {
        if (isAligned(record)) {
            __atomic_compare_exchange_n(reinterpret_cast<MailboxWord *>(record), &seen, left, false,
                                        __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
            return;
        }
    }
    if (loadWord(&record->shValue) == valueOf(seen))
        exchangeWord(&record->shCommand, commandOf(seen), commandOf(left));
}

bool storeMailbox(MailboxContent content) {
    Lens_ShaPos_ST *record = presentRecord();
    if (record != nullptr)
        storeContent(record, content);
    return record != nullptr;
}

int lensDirectZPosition(unsigned int cmd, unsigned short zp) {
    return storeMailbox(makeContent(cmd, zp)) ? 0 : -1;
}

MailboxContent readMailbox(void) {
    const Lens_ShaPos_ST *record = presentRecord();
    if (record == nullptr)
        return makeContent(kNoRecord, 0);
    return loadContent(record);
}

void exchangeMailbox(MailboxContent seen, MailboxContent left) {
    Lens_ShaPos_ST *record = presentRecord();
    if (record != nullptr)
        exchangeContent(record, seen, left);
}

void exchangeCommand(unsigned int seen, AF_CMD_em left) {
    Lens_ShaPos_ST *record = presentRecord();
    if (record != nullptr)
        exchangeWord(&record->shCommand, seen, left);
}

void publishZoomPosition16(unsigned short position16) {
    Lens_ShaPos_ST *record = presentRecord();
    if (record != nullptr)
        storeWord(&record->shRZPosition, position16);
}

void publishFocusPosition16(unsigned short position16) {
    Lens_ShaPos_ST *record = presentRecord();
    if (record != nullptr)
        storeWord(&record->shRFPosition, position16);
}

int lensGetZMapPosition(unsigned short *zp) {
    const Lens_ShaPos_ST *record = presentRecord();
    if (record == nullptr)
        return -1;
    *zp = loadWord(&record->shRZPosition);
    return 0;
}

int lensGetFMapPosition(unsigned short *fp) {
    const Lens_ShaPos_ST *record = presentRecord();
    if (record == nullptr)
        return -1;
    *fp = loadWord(&record->shRFPosition);
    return 0;
}
