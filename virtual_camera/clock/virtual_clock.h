// The camera's time: microseconds since power-on, and waiting for them to pass.
//
// Code costs no time; only waiting does. One registered thread runs at a time: it holds the
// baton until it waits, then the thread with the earliest deadline goes on, at that instant; of
// several the one that was registered first, or one drawn by lot (CameraOptions::tieSeed).
#pragma once

#include <cstdint>

namespace vcam {

/// A deadline that never comes.
constexpr int64_t kForeverUs = INT64_MAX;

/// How soon to look again for what no virtual thread tells of: a real descriptor or signal.
constexpr int64_t kLookAgainUs = 10000;

/// Threads that wait for something, longest first; the name is for whoever reads a stopped
/// camera's thread table. Its address is what threads wait on: it holds no list of its own.
struct WaitQueue {
    const char *name = "queue";
};

/// Virtual time since power-on.
int64_t nowUs();

/// Let the calling registered thread go on at @p deadlineUs; others run meanwhile.
void sleepUntilUs(int64_t deadlineUs);

inline void sleepUs(int64_t us) {
    sleepUntilUs(nowUs() + us);
}

/// Wait until another thread wakes the queue: true when woken, false at the deadline.
bool waitFor(WaitQueue &queue, int64_t deadlineUs);

void wakeOne(WaitQueue &queue);
void wakeAll(WaitQueue &queue);

} // namespace vcam
