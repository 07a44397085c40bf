#include "af_orders/ledger.h"

#include "autofocus_control.h"
#include "platform/claim.h"
#include "platform/shared_word.h"

#include <limits.h>
#include <stddef.h>

static const unsigned int kRecords = 8;
static const int kLongestRegistrationMs = 100;

// ---- The ring: words, so that a copy that comes too late is of no consequence

static const unsigned int kWords = sizeof(AF_Status_ST) / sizeof(unsigned int);
static const unsigned int kActivityAt = offsetof(AF_Status_ST, activity) / sizeof(unsigned int);
static_assert(sizeof(AF_Status_ST) % sizeof(unsigned int) == 0, "a status is made of words");

typedef unsigned int __attribute__((may_alias)) StatusWord;

static unsigned int ring[kRecords][kWords];
static unsigned int published = 0; // record number published % kRecords is the newest
static AF_Status_ST present;       // the writer's own

static void publish() {
    const StatusWord *words = reinterpret_cast<const StatusWord *>(&present);
    const unsigned int next = published + 1;
    for (unsigned int i = 0; i < kWords; ++i)
        storeWord(&ring[next % kRecords][i], words[i]);
    storeWord(&published, next);
}

void readStatus(AF_Status_ST *status) {
    StatusWord *words = reinterpret_cast<StatusWord *>(status);
    unsigned int number;
    do {
        number = loadWord(&published);
        for (unsigned int i = 0; i < kWords; ++i)
            words[i] = loadWord(&ring[number % kRecords][i]);
    } while (loadWord(&published) - number >= kRecords - 1); // the next one may be in the making
}

unsigned int presentActivity() {
    return loadWord(&ring[loadWord(&published) % kRecords][kActivityAt]);
}

// ---- How tickets ended: the outcome, and above it as much of the ticket as there is room for

static const int kKnownOutcomes = 16;
static const unsigned int kOutcomeBits = 4;
static const unsigned int kOutcomeMask = (1u << kOutcomeBits) - 1;

static unsigned int endings[kKnownOutcomes]; // at index ticket % kKnownOutcomes

static unsigned int ticketPart(int ticket) {
    return static_cast<unsigned int>(ticket) << kOutcomeBits;
}

// Tickets wrap, and this does with them.
static bool isLater(unsigned int later, unsigned int earlier) {
    return static_cast<int>(later - earlier) > 0;
}

unsigned int outcomeOf(int ticket, int last) {
    const unsigned int known = loadWord(&endings[ticket % kKnownOutcomes]);
    const unsigned int knownPart = known & ~kOutcomeMask;
    const unsigned int part = ticketPart(ticket);
    if (known != 0 && knownPart == part)
        return known & kOutcomeMask;
    const bool isOlder = known != 0 && isLater(knownPart, part);
    const bool isGiven = ticket <= last || (last != 0 && ticket - last > INT_MAX / 2);
    return isGiven && !isOlder ? AF_OUTCOME_NONE : AF_OUTCOME_FORGOTTEN;
}

// ---- The event callback

static Claim registering;
static AF_EventFun eventFun = nullptr;
static void *eventUser = nullptr;

int AF_Manager_Init_EventFun_API(AF_EventFun callBackFun, void *user) {
    if (!awaitClaim(&registering, kLongestRegistrationMs))
        return -1;
    eventFun = callBackFun;
    eventUser = user;
    giveBackClaim(&registering);
    return 0;
}

static void tellHost(int ticket, unsigned int activity, unsigned int outcome) {
    const AF_Event_ST event = {sizeof event, ticket, activity, outcome};
    while (!awaitClaim(&registering, kLongestRegistrationMs)) {
    }
    const AF_EventFun fun = eventFun;
    void *const user = eventUser;
    giveBackClaim(&registering);
    if (fun != nullptr)
        fun(&event, user);
}

// ---- What is written

void enterActivity(int ticket, unsigned int activity) {
    present.ticket = ticket;
    present.activity = activity;
    publish();
    if (ticket != 0)
        tellHost(ticket, activity, AF_OUTCOME_NONE);
}

void enterFollowUp(int ticket, unsigned int activity) {
    present.ticket = ticket;
    present.activity = activity;
    publish();
}

void standIn(unsigned int activity) {
    if (present.activity == activity && present.ticket == 0)
        return;
    present.ticket = 0;
    present.activity = activity;
    publish();
}

void closeTicket(int ticket, unsigned int activity, unsigned int outcome) {
    if (present.ticket == ticket)
        present.ticket = 0;
    present.endedTicket = ticket;
    present.endedOutcome = outcome;
    publish();
    storeWord(&endings[ticket % kKnownOutcomes], ticketPart(ticket) | outcome);
    tellHost(ticket, activity, outcome);
}

void noteRun(unsigned int outcome, unsigned int frames, unsigned int start, unsigned int peak,
             unsigned int floor) {
    present.runs += 1;
    present.runOutcome = outcome;
    present.runFrames = frames;
    present.runStart = start;
    present.runPeak = peak;
    present.runFloor = floor;
}

void noteLostSteps(int zoom, int focus) {
    present.lostZoomSteps = zoom;
    present.lostFocusSteps = focus;
}
