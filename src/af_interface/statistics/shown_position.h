// Which focus position a focus record shows, when the statistics come late.
#pragma once

/// Record number @p record is being published: remember where the focus stands. Statistics thread.
void noteShownPosition(unsigned int record);

/// Where the focus stood when the frame of the last record was exposed, by the delay if that is
/// known. The thread that drives the focus.
unsigned int shownPosition();

/// Frames until a record shows where the lens stands now: the delay, or the most that there can be
/// while it is not known.
int framesUntilShown();

/// Whether the delay is set, or has been measured.
bool isDelayKnown();

/// It has been measured; below 0: in vain.
void noteDelay(int frames);
