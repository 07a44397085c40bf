// The chip's registers as they should be, and periods that pass with nothing else in force.
//
// The bus may refuse a word and the pulse may not come; the moves above know nothing of it. While
// recovering, a period waits until every word is in the chip, writing again what is missing, for a
// second. What does not come in that time ends the order as a fault, and so does a pulse of which
// nobody knows whether it came. From then on, until the next order, there are no pulses but those
// that brake; and while the position is doubtful nothing runs a motor but a search for home, which
// an unknown pulse does not hurt: the edge that is found makes up for it.
//
// Without recovery a word is written once and a period is one pulse, whatever becomes of them.
#pragma once

#include "af_ms419xx/registers.h"

/// Write a register; the thread that drives the motors, as for all of these.
void writeRegister(DriverRegister reg, unsigned int word);

/// Pulse a VD line and let its period pass; @p runsMotor says whether a motor turns in it.
/// @return whether it has passed so.
bool passPeriod(unsigned int pin, unsigned int periodUs, bool runsMotor);

/// Whether the chip takes words at all; while recovering there is no frame and no pulse before.
void setChipUp(bool isUp);

/// Home is being searched for, or no more.
void setSearching(bool isOn);

/// End what is in hand as a fault; the position is doubtful.
void giveUpOrder();
