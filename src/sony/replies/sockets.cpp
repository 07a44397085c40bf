#include "sony/replies/sockets.h"

#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "autofocus_control.h"
#include "platform/monotonic_clock.h"
#include "sony/replies/lens_state.h"
#include "sony/replies/port.h"

static const unsigned int kAcknowledgeHead = 0x40;
static const unsigned int kCompletionHead = 0x50;
static const unsigned int kBetweenUs = 20000; // from an acknowledgement to the end

static const int kSilent = 0; // Pelco-D's in the place of a socket
static const int kSockets = 2;

enum OrderState : unsigned char { kFree, kHeld, kPlaced, kCancelling };

namespace {
struct DirectOrder {
    OrderState state;
    OrderKind kind;
    MailboxContent content;
    int ticket; // below 0: it was refused
    unsigned int acknowledgedUs;
    int ticketBefore; // the last one when it came
    unsigned int cancellingsBefore;
};

struct Finished {
    unsigned int acknowledgedUs;
    unsigned char socket;
    bool isDone;
};
} // namespace

static DirectOrder orders[1 + kSockets + 1]; // by socket; the last one stays free

// More than any line brings in the time that they wait: a command of six bytes takes 0.5 ms at
// 115200 baud.
static const unsigned int kMostFinished = 64;
static Finished finished[kMostFinished]; // the last ones at their number % kMostFinished
static unsigned int finishedCount = 0;
static unsigned int completedCount = 0;
static unsigned int waitingOn[1 + kSockets];

static void complete(int socket, bool isDone) {
    if (isDone)
        sendReply(kCompletionHead + static_cast<unsigned int>(socket), nullptr, 0);
    else
        sendError(socket, kNotExecutable);
}

static bool isDue(unsigned int acknowledgedUs) {
    return monotonicUs() - acknowledgedUs >= kBetweenUs;
}

// ---- What is obeyed at once

// The free socket with the fewest completions to come; 0 when none is free.
static int chooseSocket() {
    int socket = 0;
    for (int i = kSockets; i > 0; --i)
        if (orders[i].state == kFree && (socket == 0 || waitingOn[i] <= waitingOn[socket]))
            socket = i;
    return socket;
}

int acknowledge() {
    const int socket = chooseSocket();
    if (socket == 0)
        sendError(0, kBufferFull);
    else
        sendReply(kAcknowledgeHead + static_cast<unsigned int>(socket), nullptr, 0);
    return socket;
}

void finish(int socket, bool isDone) {
    finished[finishedCount++ % kMostFinished] = {monotonicUs(), static_cast<unsigned char>(socket),
                                                 isDone};
    ++waitingOn[socket];
}

static void completeFinished() {
    while (completedCount != finishedCount) {
        const Finished &next = finished[completedCount % kMostFinished];
        if (!isDue(next.acknowledgedUs))
            return;
        ++completedCount;
        --waitingOn[next.socket];
        complete(next.socket, next.isDone);
    }
}

bool areCommandsTaken() {
    return finishedCount - completedCount < kMostFinished;
}

// ---- Direct orders

static void endDirect(int socket, unsigned int outcome) {
    orders[socket].state = kFree;
    if (socket == kSilent)
        return;
    if (outcome == AF_OUTCOME_CANCELLED || outcome == AF_OUTCOME_REPLACED)
        sendError(socket, kCancelled);
    else
        complete(socket, outcome == AF_OUTCOME_DONE || outcome == AF_OUTCOME_FOCUSED);
}

static void place(DirectOrder *order) {
    order->ticket = placeOrder(order->content, order->kind);
    order->state = kPlaced;
}

static bool isSame(const DirectOrder &order, MailboxContent content, OrderKind kind) {
    const bool isWanted = order.state == kHeld || order.state == kPlaced;
    return isWanted && order.kind == kind && order.content == content;
}

// The silent one waits for nobody.
static void startHeld() {
    for (int i = kSilent; i <= kSockets; ++i)
        if (orders[i].state == kHeld && orders[kSockets + 1 - i].state == kFree)
            place(&orders[i]);
}

static void cancelDirect(int socket) {
    DirectOrder *order = &orders[socket];
    if (order->state == kHeld) {
        endDirect(socket, AF_OUTCOME_CANCELLED);
    } else if (order->state == kPlaced) {
        order->state = kCancelling;
        cancelOrder(order->ticket);
    }
}

static void start(int socket, MailboxContent content, OrderKind kind) {
    orders[socket] = {kHeld, kind, content, 0, monotonicUs(), lastTicket(), countCancellings()};
    startHeld();
}

bool orderDirect(MailboxContent content, OrderKind kind) {
    for (int i = 1; i <= kSockets; ++i)
        if (isSame(orders[i], content, kind)) {
            orders[i].acknowledgedUs = monotonicUs();
            sendReply(kAcknowledgeHead + static_cast<unsigned int>(i), nullptr, 0);
            return true;
        }
    if (waitingOn[chooseSocket()] != 0)
        return false;
    const int socket = acknowledge();
    if (socket != 0) {
        cancelDirect(kSilent);
        start(socket, content, kind);
    }
    return true;
}

void orderSilently(MailboxContent content) {
    if (isSame(orders[kSilent], content, kAsCommand))
        return;
    cancelDirectOrders();
    start(kSilent, content, kAsCommand);
}

void cancelSocket(int socket) {
    if (socket < 1 || socket > kSockets || orders[socket].state == kFree)
        sendError(socket, kNothingToCancel);
    else
        cancelDirect(socket);
}

void cancelDirectOrders() {
    for (int i = kSilent; i <= kSockets; ++i)
        cancelDirect(i);
}

// One that was cancelled may be forgotten among many, or wait for a search that takes its time.
static unsigned int outcomeOfDirect(const DirectOrder &order) {
    const unsigned int outcome = outcomeOfTicket(order.ticket);
    const bool isGone = outcome == AF_OUTCOME_FORGOTTEN || wasCancelledWaiting(order.ticket);
    return order.state == kCancelling && isGone ? static_cast<unsigned int>(AF_OUTCOME_CANCELLED)
                                                : outcome;
}

// What has taken the place of @p ticket has taken that of what was held behind it, unless it came
// before that.
static void cancelBehind(int ticket) {
    for (int i = kSilent; i <= kSockets; ++i)
        if (orders[i].state == kHeld && orders[i].ticketBefore == ticket)
            cancelDirect(i);
}

static void tendPlaced(int socket) {
    const DirectOrder &order = orders[socket];
    if (!isDue(order.acknowledgedUs))
        return;
    const unsigned int outcome = outcomeOfDirect(order);
    if (outcome == AF_OUTCOME_NONE)
        return;
    const bool isReplaced = outcome == AF_OUTCOME_REPLACED && order.state == kPlaced;
    endDirect(socket, outcome);
    if (isReplaced)
        cancelBehind(order.ticket);
}

static void tendDirect(int socket) {
    const DirectOrder &order = orders[socket];
    if (order.state >= kPlaced)
        tendPlaced(socket);
    else if (order.state == kHeld && order.cancellingsBefore != countCancellings())
        cancelDirect(socket);
}

bool tendSockets() {
    completeFinished();
    for (int i = kSilent; i <= kSockets; ++i)
        tendDirect(i);
    startHeld();
    bool isBusy = finishedCount != completedCount;
    for (const DirectOrder &order : orders)
        isBusy = isBusy || order.state != kFree;
    return isBusy;
}
