// What is in hand and what waits: the mailbox's commands as orders with a number, a ticket.
//
// The mailbox holds a command and its argument and nothing else. An order that is placed here
// leaves a slip beside it, with its ticket; the lens-control thread believes the slip only while
// the mailbox still holds the same command and argument. Numbers follow the mailbox's order, so
// that whatever lies between the last ticket taken and this one was replaced. A command that was
// stored past here gets its ticket when it is taken. A claim keeps slip and mailbox together;
// nothing waits inside.
//
// A handler's follow-up never takes the place of an order that waits.
#pragma once

#include "af_lens/model/mailbox.h"
#include "autofocus/types.h"

/// What an order wants beyond its command.
enum OrderKind {
    kAsCommand,      ///< What the command says.
    kFocusTo,        ///< The 16-bit focus position in the argument.
    kZoomAndFocusTo, ///< Both 16-bit positions in the argument: zoom low half, focus high half.
};

/// Place an order. @return its ticket, above 0; -1 without a record, after stop, or while another
/// one is being placed for longer than anybody needs. Any thread.
int placeOrder(MailboxContent content, OrderKind kind);

/// What the lens-control thread is to do about the mailbox; stays until the next is taken.
struct TakenOrder {
    MailboxContent content; ///< To be dispatched.
    int ticket;             ///< Of what is to be dispatched; 0: it has none.
    unsigned int ordered;   ///< Command that was placed, which another one may serve.
    OrderKind kind;
    bool isContinued; ///< It was in hand before: its handler's follow-up.
    bool isOrdered;   ///< Placed here, not stored past here.
    int goneAfter;    ///< The tickets after this one ...
    int goneTo;       ///< ... up to this one will never be taken, the one above excepted: ...
};

/// Take in hand what the mailbox holds. Lens-control thread.
const TakenOrder &takeOrder();

/// Take @p content in hand, which follows a command at once; the order that the mailbox holds is
/// taken with it only if that serves it. Lens-control thread.
const TakenOrder &takeFollowing(MailboxContent content);

/// The order in hand is done with; with @p isContinued its follow-up command still belongs to it.
/// Lens-control thread.
void putDown(bool isContinued);

/// Whether an order that was placed here waits in the mailbox.
bool doesOrderWait();

/// No order is accepted any more. @return what was still waiting, as of takeOrder().
const TakenOrder &closeOrders();

/// Whether @p ticket was cancelled before it was taken, of the last 64 or so. Any thread.
bool wasCancelledWaiting(int ticket);

/// Cancel @p ticket, or with 0 whatever is in hand or waits. @return 0; -1 when it is neither. Any
/// thread.
int cancelOrder(int ticket);

/// How often whatever there was has been cancelled. Any thread.
unsigned int countCancellings();

/// Whether what is in hand is cancelled.
bool isCancelled();

/// What is in hand is done already: cancelling it came too late.
void forgetCancelling();

/// End what is in hand as a fault, on cancel's path. The thread that drives the motors.
void failOrder();

/// Whether it was ended so.
bool hasOrderFailed();

/// The last ticket given; 0 before the first. Any thread.
int lastTicket();

/// The ticket after @p ticket: they wrap to 1.
int nextTicket(int ticket);

/// Commands that start something, as opposed to the standing states of the mailbox.
bool isWork(unsigned int command);

// ---- Follow-ups: what a handler leaves in the mailbox unless an order waits there

/// Replace whatever the mailbox holds by @p followUp; the mailbox value afterwards.
unsigned int leaveFollowUp(AF_CMD_em followUp);

/// Replace @p seen, command and argument, by @p followUp; what has been stored since then stays.
void leaveFollowUpOf(MailboxContent seen, AF_CMD_em followUp);

/// The same for a command without an argument: only another command is something new.
void leaveFollowUpOfCommand(unsigned int seen, AF_CMD_em followUp);
