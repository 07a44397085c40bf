// Acknowledging commands and ending each with one message that is true.
//
// What is obeyed at once is completed as soon as 20 ms have passed since it was acknowledged. A
// direct order goes on: it keeps its socket until its ticket has ended. Of two, the later one is
// held until the earlier one has ended. Pelco-D's is answered by nothing, and has no socket.
//
// Serial thread.
#pragma once

#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"

/// Acknowledge a command. @return its socket; 0 when there is none, which is answered as well.
int acknowledge();

/// A command of acknowledge() has been obeyed, or could not be.
void finish(int socket, bool isDone);

/// Acknowledge a direct order and have it done. The same one once more is the same one. @return
/// false when it has to be given again later: a completion is still to come on each socket.
bool orderDirect(MailboxContent content, OrderKind kind);

/// The same without an answer, and in the place of every other one.
void orderSilently(MailboxContent content);

/// Cancel what is on @p socket, 1 or 2.
void cancelSocket(int socket);

/// Cancel every direct order.
void cancelDirectOrders();

/// What has become due: completions, and the order that is held. @return whether anything is left
/// to look after.
bool tendSockets();

/// Whether another command may be finished before tendSockets().
bool areCommandsTaken();
