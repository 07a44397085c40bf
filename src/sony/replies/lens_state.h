// What the replies tell of the lens, as of now.
#pragma once

/// The published positions, the zoom's in the low half; 0 before start-up.
unsigned int positions16();

/// AF_Outcome_em of a ticket, or of an order that got none, below 0.
unsigned int outcomeOfTicket(int ticket);
