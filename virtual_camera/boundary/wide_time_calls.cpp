// The second set of names that a 32-bit libc has for calls that take or give a time: a host or a
// library that was compiled for seconds of 64 bits calls these. Each turns its times into those of
// its older sibling and calls that one, which answers or goes on to libc.
#include <ctime>

#if defined(__TIMESIZE) && __TIMESIZE == 32
#ifdef __USE_TIME_BITS64
#error "the boundary defines both sets of names: compile it for seconds of 32 bits"
#endif

#include "boundary/redirect.h"
#include "clock/next_call.h"

#include <algorithm>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <fcntl.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/time.h>
#include <unistd.h>

namespace vcam {

namespace {
struct WideTimespec {
    int64_t seconds;
    int32_t ns;
    int32_t unused;
};

struct WideTimeval {
    int64_t seconds;
    int64_t us;
};
} // namespace

struct WideStat; // only handed on

static NextCall<int(const char *, WideStat *)> nextWideStat{"__stat64_time64"};
static NextCall<int(const char *, WideStat *)> nextWideLstat{"__lstat64_time64"};

/// What lies beyond is as good as for ever.
static time_t narrowSeconds(int64_t seconds) {
    return static_cast<time_t>(std::clamp<int64_t>(seconds, INT32_MIN, INT32_MAX));
}

static struct timespec narrow(const WideTimespec &wide) {
    struct timespec time = {};
    time.tv_sec = narrowSeconds(wide.seconds);
    time.tv_nsec = wide.ns;
    return time;
}

static struct timeval narrow(const WideTimeval &wide) {
    struct timeval time = {};
    time.tv_sec = narrowSeconds(wide.seconds);
    time.tv_usec = static_cast<suseconds_t>(wide.us);
    return time;
}

static WideTimespec widen(const struct timespec &time) {
    return {time.tv_sec, static_cast<int32_t>(time.tv_nsec), 0};
}

static WideTimeval widen(const struct timeval &time) {
    return {time.tv_sec, time.tv_usec};
}

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int __nanosleep64(const vcam::WideTimespec *time, vcam::WideTimespec *left) {
    const struct timespec narrowTime = vcam::narrow(*time);
    struct timespec narrowLeft = {};
    const int result = nanosleep(&narrowTime, &narrowLeft);
    if (result != 0 && left != nullptr)
        *left = vcam::widen(narrowLeft);
    return result;
}

int __clock_nanosleep_time64(clockid_t clock, int flags, const vcam::WideTimespec *time,
                             vcam::WideTimespec *left) {
    const struct timespec narrowTime = vcam::narrow(*time);
    struct timespec narrowLeft = {};
    const int result = clock_nanosleep(clock, flags, &narrowTime, &narrowLeft);
    if (result != 0 && left != nullptr)
        *left = vcam::widen(narrowLeft);
    return result;
}

int __clock_gettime64(clockid_t clock, vcam::WideTimespec *time) {
    struct timespec narrowTime = {};
    const int result = clock_gettime(clock, &narrowTime);
    if (result == 0)
        *time = vcam::widen(narrowTime);
    return result;
}

int __gettimeofday64(vcam::WideTimeval *time, void *zone) {
    struct timeval narrowTime = {};
    const int result = gettimeofday(&narrowTime, zone);
    if (result == 0)
        *time = vcam::widen(narrowTime);
    return result;
}

int64_t __time64(int64_t *result) {
    const int64_t seconds = time(nullptr);
    if (result != nullptr)
        *result = seconds;
    return seconds;
}

int __select64(int count, fd_set *reading, fd_set *writing, fd_set *excepted,
               vcam::WideTimeval *timeout) {
    if (timeout == nullptr)
        return select(count, reading, writing, excepted, nullptr);
    struct timeval narrowTimeout = vcam::narrow(*timeout);
    const int ready = select(count, reading, writing, excepted, &narrowTimeout);
    *timeout = vcam::widen(narrowTimeout);
    return ready;
}

int __pthread_mutex_timedlock64(pthread_mutex_t *mutex, const vcam::WideTimespec *time) {
    const struct timespec narrowTime = vcam::narrow(*time);
    return pthread_mutex_timedlock(mutex, &narrowTime);
}

int __pthread_mutex_clocklock64(pthread_mutex_t *mutex, clockid_t clock,
                                const vcam::WideTimespec *time) {
    const struct timespec narrowTime = vcam::narrow(*time);
    return pthread_mutex_clocklock(mutex, clock, &narrowTime);
}

int __pthread_cond_timedwait64(pthread_cond_t *condition, pthread_mutex_t *mutex,
                               const vcam::WideTimespec *time) {
    const struct timespec narrowTime = vcam::narrow(*time);
    return pthread_cond_timedwait(condition, mutex, &narrowTime);
}

int __pthread_cond_clockwait64(pthread_cond_t *condition, pthread_mutex_t *mutex, clockid_t clock,
                               const vcam::WideTimespec *time) {
    const struct timespec narrowTime = vcam::narrow(*time);
    return pthread_cond_clockwait(condition, mutex, clock, &narrowTime);
}

int __sigtimedwait64(const sigset_t *set, siginfo_t *info, const vcam::WideTimespec *timeout) {
    if (timeout == nullptr)
        return sigtimedwait(set, info, nullptr);
    const struct timespec narrowTimeout = vcam::narrow(*timeout);
    return sigtimedwait(set, info, &narrowTimeout);
}

/// Here the name alone differs: the request says which times are meant.
int __fcntl_time64(int descriptor, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    return fcntl(descriptor, command, argument);
}

int __ioctl_time64(int descriptor, unsigned long request, ...) {
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    return ioctl(descriptor, request, argument);
}

int __stat64_time64(const char *path, vcam::WideStat *result) {
    return vcam::nextWideStat(vcam::Redirected(path), result);
}

int __lstat64_time64(const char *path, vcam::WideStat *result) {
    return vcam::nextWideLstat(vcam::Redirected(path), result);
}
}
#pragma GCC visibility pop
#endif
