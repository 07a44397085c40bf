// What the lens does and how each ticket ended, for whoever asks: the status that hosts read, and
// the events that they are told.
//
// One thread writes at a time, the start-up thread and then the lens-control thread. It publishes
// each whole status into a ring; a reader copies the newest and starts again only when the writer
// has come round meanwhile. A ticket's outcome is a word, which follows the status that tells of
// it. No reader is ever waited for, and none waits.
#pragma once

#include "autofocus_control.h"

/// Copy the newest status, but for faults and positions, which are read where they live. Any
/// thread.
void readStatus(AF_Status_ST *status);

/// AF_Activity_em of the newest status. Any thread.
unsigned int presentActivity();

/// How @p ticket, above 0, ended; AF_OUTCOME_NONE when it has not, AF_OUTCOME_FORGOTTEN when nobody
/// knows, or when it was not given up to @p last, the last one given. Any thread.
unsigned int outcomeOf(int ticket, int last);

/// Publish @p activity with what is in hand, and tell its start unless @p ticket is 0.
void enterActivity(int ticket, unsigned int activity);

/// Publish @p activity, which still belongs to @p ticket and is no start.
void enterFollowUp(int ticket, unsigned int activity);

/// The lens does @p activity without a ticket.
void standIn(unsigned int activity);

/// End a ticket and tell it.
void closeTicket(int ticket, unsigned int activity, unsigned int outcome);

/// What the last autofocus run saw and found.
void noteRun(unsigned int outcome, unsigned int frames, unsigned int start, unsigned int peak,
             unsigned int floor);

/// What the last home search found the counters short of the truth.
void noteLostSteps(int zoom, int focus);
