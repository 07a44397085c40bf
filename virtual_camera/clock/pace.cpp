#include "clock/pace.h"

#include "clock/next_call.h"
#include "clock/thread_table.h"
#include "clock/unobserved.h"
#include "clock/virtual_clock.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <poll.h>

namespace vcam {

static constexpr int64_t kNsPerUs = 1000;
static constexpr int64_t kNsPerSecond = 1000000000;

// A machine that was suspended, or a scene that took long to draw, is not caught up with.
static constexpr int64_t kMostLagNs = kNsPerSecond / 2;
static constexpr int64_t kLongestSleepNs = 3600 * kNsPerSecond;

static double pace;          // virtual microseconds a real microsecond
static int64_t originRealNs; // real time at virtual originUs
static int64_t originUs;
static int outsideDescriptor = -1;
static void (*takeInputThere)();

static NextCall<int(clockid_t, struct timespec *)> nextClockGettime{"clock_gettime"};
static NextCall<int(struct pollfd *, nfds_t, const struct timespec *, const sigset_t *)> nextPpoll{
    "ppoll"};

static int64_t readRealNs() {
    struct timespec time = {};
    nextClockGettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * kNsPerSecond + time.tv_nsec;
}

void startPace(double virtualPerReal, int64_t nowUs) {
    pace = virtualPerReal;
    originUs = nowUs;
    originRealNs = readRealNs();
}

bool isPaced() {
    return pace > 0;
}

void watchOutside(int descriptor, void (*takeInput)()) {
    outsideDescriptor = descriptor;
    takeInputThere = takeInput;
}

bool isOutsideWatched() {
    return isPaced() && outsideDescriptor >= 0;
}

void takeOutsideInput() {
    takeInputThere();
}

static int64_t computeSleepNs(int64_t deadlineUs) {
    if (deadlineUs == kForeverUs)
        return kLongestSleepNs;
    const double sinceOriginUs = static_cast<double>(deadlineUs - originUs) / pace;
    const int64_t dueNs = originRealNs + static_cast<int64_t>(sinceOriginUs * kNsPerUs);
    return std::min(dueNs - readRealNs(), kLongestSleepNs);
}

static int64_t computeReachedUs(int64_t fromUs, int64_t deadlineUs) {
    const double realUs = static_cast<double>(readRealNs() - originRealNs) / kNsPerUs;
    const int64_t reachedUs = originUs + static_cast<int64_t>(realUs * pace);
    return std::clamp(reachedUs, fromUs, deadlineUs);
}

static bool pollOutside(int64_t sleepNs) {
    struct timespec timeout = {};
    timeout.tv_sec = static_cast<time_t>(sleepNs / kNsPerSecond);
    timeout.tv_nsec = static_cast<long>(sleepNs % kNsPerSecond);
    struct pollfd outside = {outsideDescriptor, POLLIN, 0};
    const int ready =
        nextPpoll(&outside, 1, &timeout, nullptr); // a negative descriptor only sleeps
    if (ready < 0 && errno == EINTR && currentThread != nullptr)
        currentThread->wasInterrupted = true;
    return ready > 0 && (outside.revents & POLLIN) != 0;
}

PaceStep keepPace(int64_t nowUs, int64_t deadlineUs) {
    const Unobserved unobserved;
    for (;;) {
        const int64_t sleepNs = computeSleepNs(deadlineUs);
        if (sleepNs < -kMostLagNs)
            startPace(pace, deadlineUs);
        if (pollOutside(std::max<int64_t>(sleepNs, 0)))
            return {computeReachedUs(nowUs, deadlineUs), true};
        const bool isDue = deadlineUs != kForeverUs && computeSleepNs(deadlineUs) <= 0;
        if (isDue)
            return {deadlineUs, false};
    }
}

} // namespace vcam
