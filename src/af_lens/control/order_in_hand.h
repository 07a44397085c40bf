// A command's way through the lens-control thread as an order: its ticket is taken, told, and ended
// with an outcome. The handlers know nothing of it.
#pragma once

#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"

/// Take in hand what the mailbox holds. @return what is to be dispatched and as which kind; nothing
/// is when isCancelled() says so. Lens-control thread, as all of these.
const TakenOrder &beginOrder();

/// The same for @p content, which follows a command at once.
const TakenOrder &beginFollowing(MailboxContent content);

/// While the position is doubtful, find home before what is in hand goes anywhere; it is ended as a
/// fault when that fails.
void findHomeBefore();

/// What is in hand could not be done.
void noteFault();

/// It stopped on its way, for another order or a stored command.
void noteReplaced();

/// Its handler is back. @return false when the chain ends here, because it was cancelled.
bool endOrder();

/// Judge an autofocus run that has ended before, once a frame has come since. At each poll.
void settleVerdict();

/// Somebody else drives the motors.
void noteStepping();

/// End every ticket there is: the thread ends.
void abandonOrders();

// ---- Start-up, on its own thread

void beginStartUp();
void endStartUp();
