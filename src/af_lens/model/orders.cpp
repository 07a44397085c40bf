#include "af_lens/model/orders.h"

#include "af_lens/model/mailbox.h"
#include "autofocus/types.h"
#include "platform/claim.h"
#include "platform/shared_word.h"

#include <limits.h>

static const int kLongestPlacingMs = 100;

// ---- The book, under the claim; its words may be looked at without it

enum Waiting { kNothingWaits, kCommandWaits, kTargetWaits };

static const int kUntold = 64;

namespace {
struct Slip {
    int ticket;
    int before; // the last ticket given before
    OrderKind kind;
    MailboxContent content;
};
} // namespace

static struct {
    Claim ordering;
    Slip slip;
    Waiting waiting; // whether the slip's order has not been taken yet
    int issued;      // the last ticket there is
    int settled;     // the last one that was taken or never will be
    MailboxContent contentInHand = makeContent(CMD_NONE, 0);
    int ticketInHand;
    int ticketCancelled;
    int ticketFailed;
    unsigned int cancellings; // of whatever there is
    bool isClosed;
    bool awaitsFollowUp; // of what is in hand
    bool isChainCut;     // cancelled between two commands of one chain
    TakenOrder taken;    // the lens-control thread's own
    // Tickets that were cancelled while they waited, until the lens-control thread tells of them.
    int cancelledWaiting[kUntold]; // at index ticket % kUntold
} book;

// The lens-control thread has nothing to do but wait for whoever is between these two lines.
static void beginTaking() {
    while (!awaitClaim(&book.ordering, kLongestPlacingMs)) {
    }
}

int nextTicket(int ticket) {
    return ticket == INT_MAX ? 1 : ticket + 1;
}

int lastTicket() {
    return loadWord(&book.issued);
}

bool isWork(unsigned int command) {
    return command < CMD_FSTOP;
}

static bool isAutofocus(unsigned int command) {
    return command == CMD_ZSTOP || command == CMD_FOCUS;
}

static bool stillHoldsSlip() {
    return book.waiting != kNothingWaits && readMailbox() == book.slip.content;
}

// ---- Placing

int placeOrder(MailboxContent content, OrderKind kind) {
    if (!awaitClaim(&book.ordering, kLongestPlacingMs))
        return -1;
    int ticket = -1;
    if (!book.isClosed && hasRecord()) {
        book.slip = {nextTicket(book.issued), book.issued, kind, content};
        storeWord(&book.issued, book.slip.ticket);
        storeWord(&book.waiting, kind == kAsCommand ? kCommandWaits : kTargetWaits);
        storeMailbox(content);
        ticket = book.issued;
    }
    giveBackClaim(&book.ordering);
    return ticket;
}

bool doesOrderWait() {
    return loadWord(&book.waiting) != kNothingWaits;
}

// ---- Taking

// An autofocus run at the end of a zoom is also the one that was ordered meanwhile; and it has
// stopped the focus, if that was ordered.
static bool serves(unsigned int command, unsigned int ordered) {
    const bool isFulfilled = isAutofocus(ordered) || ordered == CMD_FSTOP;
    return command == ordered || (isAutofocus(command) && isFulfilled);
}

// Everything that was placed but not book.taken up to @p last is gone.
static void settle(int last) {
    book.taken.goneAfter = book.settled;
    book.taken.goneTo = book.settled = last;
}

static void takeSlip() {
    book.taken.ticket = book.slip.ticket;
    book.taken.ordered = commandOf(book.slip.content);
    if (book.taken.ordered == commandOf(book.taken.content))
        book.taken.content = book.slip.content;
    book.taken.kind = book.slip.kind;
    book.taken.isOrdered = true;
}

static bool continuesInHand(unsigned int command) {
    return book.awaitsFollowUp && command == CMD_FOCUS && Lens_Get_Command() == CMD_FOCUS;
}

// The last one placed is gone when something else lies in the mailbox, unless it is just
// book.waiting.
static void takeUnderClaim(MailboxContent content) {
    book.taken = TakenOrder();
    book.taken.content = content;
    const unsigned int command = commandOf(content);
    const bool stands = stillHoldsSlip();
    if (stands && !serves(command, commandOf(book.slip.content))) {
        settle(book.slip.before); // it goes on book.waiting
        return;
    }
    storeWord(&book.waiting, kNothingWaits);
    if (stands) {
        takeSlip();
    } else if (continuesInHand(command)) {
        book.taken.ticket = loadWord(&book.ticketInHand);
        book.taken.isContinued = true;
    } else if (isWork(command)) {
        storeWord(&book.issued, nextTicket(book.issued));
        book.taken.ticket = book.issued;
    }
    settle(book.issued);
}

static const TakenOrder &take(MailboxContent content, bool isHeld) {
    beginTaking();
    book.contentInHand = hasRecord() ? readMailbox() : makeContent(CMD_ZSTOP, 0);
    if (book.isChainCut && !isHeld && book.issued != 0 && !stillHoldsSlip())
        content = makeContent(CMD_FSTOP, valueOf(content));
    book.isChainCut = false;
    takeUnderClaim(isHeld ? book.contentInHand : content);
    storeWord(&book.ticketInHand, book.taken.ticket);
    book.awaitsFollowUp = false;
    giveBackClaim(&book.ordering);
    return book.taken;
}

const TakenOrder &takeOrder() {
    return take(0, true);
}

const TakenOrder &takeFollowing(MailboxContent content) {
    return take(content, false);
}

void putDown(bool isContinued) {
    beginTaking();
    book.awaitsFollowUp = isContinued;
    book.contentInHand =
        makeContent(isContinued ? CMD_FOCUS : CMD_NONE, valueOf(book.contentInHand));
    if (!isContinued)
        storeWord(&book.ticketInHand, 0);
    giveBackClaim(&book.ordering);
}

static void noteCancelledWaiting() {
    storeWord(&book.cancelledWaiting[book.slip.ticket % kUntold], book.slip.ticket);
    storeWord(&book.waiting, kNothingWaits);
}

bool wasCancelledWaiting(int ticket) {
    return ticket > 0 && loadWord(&book.cancelledWaiting[ticket % kUntold]) == ticket;
}

const TakenOrder &closeOrders() {
    beginTaking();
    book.isClosed = true;
    book.taken.ticket = 0;
    if (book.waiting != kNothingWaits)
        noteCancelledWaiting();
    settle(book.issued);
    giveBackClaim(&book.ordering);
    return book.taken;
}

// ---- Cancelling

// What waits goes from the mailbox as if it had never come: what is in hand stays there.
static void emptyMailboxOf(MailboxContent content) {
    const MailboxContent standing = makeContent(CMD_FSTOP, valueOf(content));
    const bool goesOn = loadWord(&book.ticketInHand) != 0 && !isCancelled();
    exchangeMailbox(content, goesOn ? book.contentInHand : standing);
}

static bool cancelWaiting(int ticket) {
    if (stillHoldsSlip()) {
        if (ticket != 0 && ticket != book.slip.ticket)
            return false;
        emptyMailboxOf(book.slip.content);
        noteCancelledWaiting();
        return true;
    }
    const MailboxContent held = readMailbox();
    const bool isStored = isWork(commandOf(held)) && held != book.contentInHand;
    if (ticket == 0 && isStored && !book.awaitsFollowUp)
        emptyMailboxOf(held);
    return false;
}

int cancelOrder(int ticket) {
    if (!awaitClaim(&book.ordering, kLongestPlacingMs))
        return -1;
    const int inHand = loadWord(&book.ticketInHand);
    bool isFound = inHand != 0 && (ticket == 0 || ticket == inHand);
    if (isFound)
        storeWord(&book.ticketCancelled, inHand);
    isFound = cancelWaiting(ticket) || isFound;
    book.isChainCut = book.isChainCut || inHand == 0;
    if (ticket == 0)
        storeWord(&book.cancellings, book.cancellings + 1);
    giveBackClaim(&book.ordering);
    return isFound || ticket == 0 ? 0 : -1;
}

unsigned int countCancellings() {
    return loadWord(&book.cancellings);
}

bool isCancelled() {
    const int inHand = loadWord(&book.ticketInHand);
    return inHand != 0 && loadWord(&book.ticketCancelled) == inHand;
}

void forgetCancelling() {
    storeWord(&book.ticketCancelled, 0);
}

void failOrder() {
    book.ticketFailed = loadWord(&book.ticketInHand);
    storeWord(&book.ticketCancelled, book.ticketFailed);
}

bool hasOrderFailed() {
    const int inHand = loadWord(&book.ticketInHand);
    return inHand != 0 && book.ticketFailed == inHand;
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
    const bool isEnded = loadWord(&book.waiting) == kTargetWaits || isCancelled();
    return goesOn && !isEnded ? 0 : 1;
}

unsigned int leaveFollowUp(AF_CMD_em followUp) {
    beginTaking();
    if (stillHoldsSlip())
        book.contentInHand = makeContent(followUp, valueOf(book.contentInHand));
    else if (Lens_Get_Command() != static_cast<unsigned int>(followUp))
        Lens_Set_Command(followUp);
    giveBackClaim(&book.ordering);
    return Lens_Get_Command();
}

void leaveFollowUpOf(MailboxContent seen, AF_CMD_em followUp) {
    beginTaking();
    if (stillHoldsSlip())
        book.contentInHand = makeContent(followUp, valueOf(seen));
    else
        exchangeMailbox(seen, makeContent(followUp, valueOf(seen)));
    giveBackClaim(&book.ordering);
}

void leaveFollowUpOfCommand(unsigned int seen, AF_CMD_em followUp) {
    beginTaking();
    if (!stillHoldsSlip())
        exchangeCommand(seen, followUp);
    giveBackClaim(&book.ordering);
}
