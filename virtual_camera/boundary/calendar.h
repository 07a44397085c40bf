// Between virtual microseconds since power-on and the times that POSIX calls take and give.
#pragma once

#include <cstdint>

#include <ctime>
#include <sys/time.h>

namespace vcam {

constexpr int64_t kUsPerSecond = 1000000;
constexpr int64_t kNsPerUs = 1000;
constexpr int64_t kNsPerSecond = kUsPerSecond * kNsPerUs;

/// The camera is always switched on at 2024-01-01 00:00:00 UTC, so that log files repeat too.
constexpr int64_t kPowerOnCalendarUs = 1704067200 * kUsPerSecond;

/// libc refuses a time whose nanoseconds were never carried into its seconds.
inline bool hasValidNs(const struct timespec &time) {
    return time.tv_nsec >= 0 && time.tv_nsec < kNsPerSecond;
}

/// Rounded up: a wait is never shorter than asked for.
inline int64_t toUsUp(const struct timespec &time) {
    return time.tv_sec * kUsPerSecond + (time.tv_nsec + kNsPerUs - 1) / kNsPerUs;
}

inline int64_t toUs(const struct timeval &time) {
    return time.tv_sec * kUsPerSecond + time.tv_usec;
}

// Seconds that fit a thirty-two-bit time_t: the calendar starts well before 2038.
inline struct timespec toTimespec(int64_t us) {
    struct timespec time = {};
    time.tv_sec = static_cast<time_t>(us / kUsPerSecond);
    time.tv_nsec = static_cast<long>(us % kUsPerSecond * kNsPerUs);
    return time;
}

inline struct timeval toTimeval(int64_t us) {
    struct timeval time = {};
    time.tv_sec = static_cast<time_t>(us / kUsPerSecond);
    time.tv_usec = static_cast<suseconds_t>(us % kUsPerSecond);
    return time;
}

/// The virtual instant of an absolute time. Which clock it is of need not be known: before the date
/// of power-on only the monotonic clock can be meant, which counts from power-on.
inline int64_t toDeadlineUs(const struct timespec &time) {
    const int64_t us = toUsUp(time);
    return us >= kPowerOnCalendarUs ? us - kPowerOnCalendarUs : us;
}

} // namespace vcam
