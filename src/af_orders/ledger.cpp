#include "af_orders/ledger.h"

#include "autofocus_control.h"
#include "platform/claim.h"
#include "platform/shared_word.h"

#include <limits.h>
#include <string.h>

static const unsigned int kRecords = 8;
static const int kLongestRegistrationMs = 100;

// ---- The ring: words, so that a copy that comes too late is of no consequence

static const unsigned int kWords = sizeof(Ledger) / sizeof(unsigned int);
static_assert(sizeof(Ledger) % sizeof(unsigned int) == 0, "a record is made of words");

static unsigned int ring[kRecords][kWords];
static unsigned int published = 0; // record number published % kRecords is the newest
static Ledger present;             // the writer's own

static void publish() {
    unsigned int words[kWords];
    memcpy(words, &present, sizeof words);
    const unsigned int next = published + 1;
    for (unsigned int i = 0; i < kWords; ++i)
        storeWord(&ring[next % kRecords][i], words[i]);
    storeWord(&published, next);
}

Ledger readLedger() {
    unsigned int words[kWords];
    unsigned int number;
    do {
        number = loadWord(&published);
        for (unsigned int i = 0; i < kWords; ++i)
            words[i] = loadWord(&ring[number % kRecords][i]);
    } while (loadWord(&published) - number >= kRecords - 1); // the next one may be in the making
    Ledger ledger;
    memcpy(&ledger, words, sizeof ledger);
    return ledger;
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
    present.status.ticket = ticket;
    present.status.activity = activity;
    publish();
    if (ticket != 0)
        tellHost(ticket, activity, AF_OUTCOME_NONE);
}

void enterFollowUp(int ticket, unsigned int activity) {
    present.status.ticket = ticket;
    present.status.activity = activity;
    publish();
}

void standIn(unsigned int activity) {
    if (present.status.activity == activity && present.status.ticket == 0)
        return;
    present.status.ticket = 0;
    present.status.activity = activity;
    publish();
}

void closeTicket(int ticket, unsigned int activity, unsigned int outcome) {
    if (present.status.ticket == ticket)
        present.status.ticket = 0;
    present.status.endedTicket = ticket;
    present.status.endedOutcome = outcome;
    present.lastTickets[ticket % kKnownOutcomes] = ticket;
    present.lastOutcomes[ticket % kKnownOutcomes] = outcome;
    publish();
    tellHost(ticket, activity, outcome);
}

void noteRun(unsigned int outcome, unsigned int frames, unsigned int start, unsigned int peak,
             unsigned int floor) {
    present.status.runs += 1;
    present.status.runOutcome = outcome;
    present.status.runFrames = frames;
    present.status.runStart = start;
    present.status.runPeak = peak;
    present.status.runFloor = floor;
}

void noteLostSteps(int zoom, int focus) {
    present.status.lostZoomSteps = zoom;
    present.status.lostFocusSteps = focus;
}

// ---- What is read

// How many tickets later @p later was given; they wrap from INT_MAX to 1.
static int ageOf(int ticket, int later) {
    return later >= ticket ? later - ticket : INT_MAX - ticket + later;
}

static bool isEarlier(int ticket, int than) {
    return than != 0 && ticket != than && ageOf(ticket, than) < INT_MAX / 2;
}

unsigned int outcomeOf(const Ledger &ledger, int ticket, int last) {
    const int known = ledger.lastTickets[ticket % kKnownOutcomes];
    if (known == ticket)
        return ledger.lastOutcomes[ticket % kKnownOutcomes];
    const bool isGiven = ticket == last || isEarlier(ticket, last);
    return isGiven && !isEarlier(ticket, known) ? AF_OUTCOME_NONE : AF_OUTCOME_FORGOTTEN;
}
