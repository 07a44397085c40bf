#include "af_lens/model/orders.h"

#include "af_lens/model/mailbox.h"
#include "autofocus/types.h"
#include "platform/claim.h"
#include "platform/shared_word.h"

#include <limits.h>

static const int kLongestPlacingMs = 100;

// ---- The slip, under the claim; the words may be looked at without it

enum Waiting { kNothingWaits, kCommandWaits, kTargetWaits };

static Claim ordering;
static struct {
    int ticket;
    int before; // the last ticket given before
    OrderKind kind;
    MailboxContent content;
} slip;
static Waiting waiting = kNothingWaits; // whether the slip's order has not been taken yet
static int issued = 0;                  // the last ticket there is
static int settled = 0;                 // the last one that was taken or never will be
static bool isClosed = false;
static MailboxContent contentInHand = makeContent(CMD_NONE, 0);
static int ticketInHand = 0;
static int ticketCancelled = 0;
static int ticketFailed = 0;
static unsigned int cancellings = 0; // of whatever there is
static bool awaitsFollowUp = false;  // of what is in hand
static bool isChainCut = false;      // cancelled between two commands of one chain
static TakenOrder taken;             // the lens-control thread's own

// Tickets that were cancelled while they waited, until the lens-control thread tells of them.
static const int kUntold = 64;
static int cancelledWaiting[kUntold]; // at index ticket % kUntold

// The lens-control thread has nothing to do but wait for whoever is between these two lines.
static void beginTaking() {
    while (!awaitClaim(&ordering, kLongestPlacingMs)) {
    }
}

int nextTicket(int ticket) {
    return ticket == INT_MAX ? 1 : ticket + 1;
}

int lastTicket() {
    return loadWord(&issued);
}

bool isWork(unsigned int command) {
    return command < CMD_FSTOP;
}

static bool isAutofocus(unsigned int command) {
    return command == CMD_ZSTOP || command == CMD_FOCUS;
}

static bool stillHoldsSlip() {
    return waiting != kNothingWaits && readMailbox() == slip.content;
}

// ---- Placing

int placeOrder(MailboxContent content, OrderKind kind) {
    if (!awaitClaim(&ordering, kLongestPlacingMs))
        return -1;
    int ticket = -1;
    if (!isClosed && hasRecord()) {
        slip = {nextTicket(issued), issued, kind, content};
        storeWord(&issued, slip.ticket);
        storeWord(&waiting, kind == kAsCommand ? kCommandWaits : kTargetWaits);
        storeMailbox(content);
        ticket = issued;
    }
    giveBackClaim(&ordering);
    return ticket;
}

bool doesOrderWait() {
    return loadWord(&waiting) != kNothingWaits;
}

// ---- Taking

// An autofocus run at the end of a zoom is also the one that was ordered meanwhile; and it has
// stopped the focus, if that was ordered.
static bool serves(unsigned int command, unsigned int ordered) {
    const bool isFulfilled = isAutofocus(ordered) || ordered == CMD_FSTOP;
    return command == ordered || (isAutofocus(command) && isFulfilled);
}

// Everything that was placed but not taken up to @p last is gone.
static void settle(int last) {
    taken.goneAfter = settled;
    taken.goneTo = settled = last;
}

static void takeSlip() {
    taken.ticket = slip.ticket;
    taken.ordered = commandOf(slip.content);
    if (taken.ordered == commandOf(taken.content))
        taken.content = slip.content;
    taken.kind = slip.kind;
    taken.isOrdered = true;
}

static bool continuesInHand(unsigned int command) {
    return awaitsFollowUp && command == CMD_FOCUS && Lens_Get_Command() == CMD_FOCUS;
}

// The last one placed is gone when something else lies in the mailbox, unless it is just waiting.
static void takeUnderClaim(MailboxContent content) {
    taken = TakenOrder();
    taken.content = content;
    const unsigned int command = commandOf(content);
    const bool stands = stillHoldsSlip();
    if (stands && !serves(command, commandOf(slip.content))) {
        settle(slip.before); // it goes on waiting
        return;
    }
    storeWord(&waiting, kNothingWaits);
    if (stands) {
        takeSlip();
    } else if (continuesInHand(command)) {
        taken.ticket = loadWord(&ticketInHand);
        taken.isContinued = true;
    } else if (isWork(command)) {
        storeWord(&issued, nextTicket(issued));
        taken.ticket = issued;
    }
    settle(issued);
}

static const TakenOrder &take(MailboxContent content, bool isHeld) {
    beginTaking();
    contentInHand = hasRecord() ? readMailbox() : makeContent(CMD_ZSTOP, 0);
    if (isChainCut && !isHeld && issued != 0 && !stillHoldsSlip())
        content = makeContent(CMD_FSTOP, valueOf(content));
    isChainCut = false;
    takeUnderClaim(isHeld ? contentInHand : content);
    storeWord(&ticketInHand, taken.ticket);
    awaitsFollowUp = false;
    giveBackClaim(&ordering);
    return taken;
}

const TakenOrder &takeOrder() {
    return take(0, true);
}

const TakenOrder &takeFollowing(MailboxContent content) {
    return take(content, false);
}

void putDown(bool isContinued) {
    beginTaking();
    awaitsFollowUp = isContinued;
    contentInHand = makeContent(isContinued ? CMD_FOCUS : CMD_NONE, valueOf(contentInHand));
    if (!isContinued)
        storeWord(&ticketInHand, 0);
    giveBackClaim(&ordering);
}

static void noteCancelledWaiting() {
    storeWord(&cancelledWaiting[slip.ticket % kUntold], slip.ticket);
    storeWord(&waiting, kNothingWaits);
}

bool wasCancelledWaiting(int ticket) {
    return ticket > 0 && loadWord(&cancelledWaiting[ticket % kUntold]) == ticket;
}

const TakenOrder &closeOrders() {
    beginTaking();
    isClosed = true;
    taken.ticket = 0;
    if (waiting != kNothingWaits)
        noteCancelledWaiting();
    settle(issued);
    giveBackClaim(&ordering);
    return taken;
}

// ---- Cancelling

// What waits goes from the mailbox as if it had never come: what is in hand stays there.
static void emptyMailboxOf(MailboxContent content) {
    const MailboxContent standing = makeContent(CMD_FSTOP, valueOf(content));
    const bool goesOn = loadWord(&ticketInHand) != 0 && !isCancelled();
    exchangeMailbox(content, goesOn ? contentInHand : standing);
}

static bool cancelWaiting(int ticket) {
    if (stillHoldsSlip()) {
        if (ticket != 0 && ticket != slip.ticket)
            return false;
        emptyMailboxOf(slip.content);
        noteCancelledWaiting();
        return true;
    }
    const MailboxContent held = readMailbox();
    const bool isStored = isWork(commandOf(held)) && held != contentInHand;
    if (ticket == 0 && isStored && !awaitsFollowUp)
        emptyMailboxOf(held);
    return false;
}

int cancelOrder(int ticket) {
    if (!awaitClaim(&ordering, kLongestPlacingMs))
        return -1;
    const int inHand = loadWord(&ticketInHand);
    bool isFound = inHand != 0 && (ticket == 0 || ticket == inHand);
    if (isFound)
        storeWord(&ticketCancelled, inHand);
    isFound = cancelWaiting(ticket) || isFound;
    isChainCut = isChainCut || inHand == 0;
    if (ticket == 0)
        storeWord(&cancellings, cancellings + 1);
    giveBackClaim(&ordering);
    return isFound || ticket == 0 ? 0 : -1;
}

unsigned int countCancellings() {
    return loadWord(&cancellings);
}

bool isCancelled() {
    const int inHand = loadWord(&ticketInHand);
    return inHand != 0 && loadWord(&ticketCancelled) == inHand;
}

void forgetCancelling() {
    storeWord(&ticketCancelled, 0);
}

void failOrder() {
    ticketFailed = loadWord(&ticketInHand);
    storeWord(&ticketCancelled, ticketFailed);
}

bool hasOrderFailed() {
    const int inHand = loadWord(&ticketInHand);
    return inHand != 0 && ticketFailed == inHand;
}

// ---- What goes on, and what is left behind

int lensFocusInterrupt(void) {
    const unsigned int command = Lens_Get_Command();
    const bool goesOn = isAutofocus(command) || command == CMD_FSTOP;
    return goesOn && !isCancelled() ? 0 : 1;
}

int lensMotorInterrupt(AF_CMD_em emCmd) {
    const unsigned int command = Lens_Get_Command();
    const bool goesOn = command == static_cast<unsigned int>(emCmd) || command == CMD_FOCUS;
    const bool isEnded = loadWord(&waiting) == kTargetWaits || isCancelled();
    return goesOn && !isEnded ? 0 : 1;
}

unsigned int leaveFollowUp(AF_CMD_em followUp) {
    beginTaking();
    if (stillHoldsSlip())
        contentInHand = makeContent(followUp, valueOf(contentInHand));
    else if (Lens_Get_Command() != static_cast<unsigned int>(followUp))
        Lens_Set_Command(followUp);
    giveBackClaim(&ordering);
    return Lens_Get_Command();
}

void leaveFollowUpOf(MailboxContent seen, AF_CMD_em followUp) {
    beginTaking();
    if (stillHoldsSlip())
        contentInHand = makeContent(followUp, valueOf(seen));
    else
        exchangeMailbox(seen, makeContent(followUp, valueOf(seen)));
    giveBackClaim(&ordering);
}

void leaveFollowUpOfCommand(unsigned int seen, AF_CMD_em followUp) {
    beginTaking();
    if (!stillHoldsSlip())
        exchangeCommand(seen, followUp);
    giveBackClaim(&ordering);
}
