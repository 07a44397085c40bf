// The focus driven to a 16-bit position.
#pragma once

/// Drive there, clipped to the travel, as long as command @p standing stays in the mailbox and no
/// order waits; the position is stored and published. @return whether it has arrived. Lens-control
/// thread.
bool driveFocusTo(unsigned short rfp, unsigned int standing);
