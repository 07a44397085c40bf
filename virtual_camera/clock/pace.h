// Real time for people who watch: before the clock jumps, the process sleeps until that instant
// has come in real time, at so many virtual seconds a real second. Instants are absolute, so
// nothing drifts. One descriptor, the serial line's outside end, may cut such a sleep short.
#pragma once

#include <cstdint>

namespace vcam {

/// From virtual @p nowUs on keep pace; 0 leaves the clock unlimited.
void startPace(double virtualPerReal, int64_t nowUs);

bool isPaced();

/// @p takeInput is called whenever @p descriptor has become readable while the process slept.
void watchOutside(int descriptor, void (*takeInput)());

/// Without an outside, threads that all wait without a deadline wait for ever.
bool isOutsideWatched();

struct PaceStep {
    int64_t reachedUs; ///< Virtual; the deadline, or before it when there is input.
    bool hasInput;
};

/// Sleep until @p deadlineUs or until there is input. The caller advances the clock by what it
/// gets and then calls takeOutsideInput.
PaceStep keepPace(int64_t nowUs, int64_t deadlineUs);

void takeOutsideInput();

} // namespace vcam
