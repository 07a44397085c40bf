// How much the focus value differs from frame to frame while nothing moves.
//
// Learned at idle, while the refocus trigger is armed, over some sixteen frames. It begins, and
// after a change of the gain begins again, with what a sensor of this gain is assumed to have.
#pragma once

#include "autofocus/statistics.h"

/// Look at one more frame. Statistics thread.
void watchNoise(const AF_Statistics_Info &record);

/// Standard deviation of the value that is judged at zoom tag @p index1, as a share of it. Any
/// thread.
float noiseShareAt(int index1);
