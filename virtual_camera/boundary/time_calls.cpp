// Sleeps and clocks. Registered threads live in virtual time: every clock but the ones of consumed
// processor time starts at power-on, the calendar at a fixed date.
#include "boundary/calendar.h"
#include "boundary/faults.h"
#include "clock/next_call.h"
#include "clock/scheduler.h"
#include "clock/thread_table.h"
#include "clock/virtual_clock.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <sched.h>
#include <sys/time.h>
#include <unistd.h>

namespace vcam {

static NextCall<int(useconds_t)> nextUsleep{"usleep"};
static NextCall<unsigned(unsigned)> nextSleep{"sleep"};
static NextCall<int(const struct timespec *, struct timespec *)> nextNanosleep{"nanosleep"};
static NextCall<int(clockid_t, int, const struct timespec *, struct timespec *)> nextClockNanosleep{
    "clock_nanosleep"};
static NextCall<int(clockid_t, struct timespec *)> nextClockGettime{"clock_gettime"};
static NextCall<int(struct timeval *, void *)> nextGettimeofday{"gettimeofday"};
static NextCall<time_t(time_t *)> nextTime{"time"};
static NextCall<int()> nextSchedYield{"sched_yield"};

/// Even an empty sleep costs something, or a loop of them would stop the clock.
static void sleepAtLeast(int64_t us) {
    sleepUs(std::max<int64_t>(us, 1));
}

/// A fault: a signal that the program handles comes in the middle of the sleep.
static bool isInterrupted(const char *call, int64_t us) {
    if (us <= 1 || !failsNow(call, ""))
        return false;
    const int error = errno;
    sleepAtLeast(us - us / 2);
    errno = error;
    return true;
}

static bool isSleepable(const struct timespec &time) {
    return time.tv_sec >= 0 && hasValidNs(time);
}

static bool isOfConsumedTime(clockid_t clock) {
    return clock == CLOCK_PROCESS_CPUTIME_ID || clock == CLOCK_THREAD_CPUTIME_ID || clock < 0;
}

static bool isCalendar(clockid_t clock) {
    return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE || clock == CLOCK_TAI ||
           clock == CLOCK_REALTIME_ALARM;
}

/// Virtual time as a clock shows it; a program may read it in a loop until some instant comes.
static int64_t readClockUs(clockid_t clock) {
    chargeCall();
    return isCalendar(clock) ? kPowerOnCalendarUs + nowUs() : nowUs();
}

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int usleep(useconds_t us) {
    if (!vcam::isRegisteredThread())
        return vcam::nextUsleep(us);
    if (vcam::isInterrupted("usleep", us))
        return -1;
    vcam::sleepAtLeast(us);
    return 0;
}

unsigned sleep(unsigned seconds) {
    if (!vcam::isRegisteredThread())
        return vcam::nextSleep(seconds);
    if (vcam::isInterrupted("sleep", seconds * vcam::kUsPerSecond))
        return seconds - seconds / 2;
    vcam::sleepAtLeast(seconds * vcam::kUsPerSecond);
    return 0;
}

int nanosleep(const struct timespec *time, struct timespec *left) {
    if (!vcam::isRegisteredThread())
        return vcam::nextNanosleep(time, left);
    if (!vcam::isSleepable(*time)) {
        errno = EINVAL;
        return -1;
    }
    const int64_t us = vcam::toUsUp(*time);
    if (vcam::isInterrupted("nanosleep", us)) {
        if (left != nullptr)
            *left = vcam::toTimespec(us / 2);
        return -1;
    }
    vcam::sleepAtLeast(us);
    return 0;
}

int clock_nanosleep(clockid_t clock, int flags, const struct timespec *time,
                    struct timespec *left) {
    if (!vcam::isRegisteredThread())
        return vcam::nextClockNanosleep(clock, flags, time, left);
    if (!vcam::isSleepable(*time))
        return EINVAL;
    if ((flags & TIMER_ABSTIME) != 0)
        vcam::sleepUntilUs(vcam::toDeadlineUs(*time));
    else
        vcam::sleepAtLeast(vcam::toUsUp(*time));
    return 0;
}

int sched_yield() __THROW {
    if (!vcam::isRegisteredThread())
        return vcam::nextSchedYield();
    vcam::sleepAtLeast(0);
    return 0;
}

int clock_gettime(clockid_t clock, struct timespec *time) __THROW {
    if (!vcam::isRegisteredThread() || vcam::isOfConsumedTime(clock))
        return vcam::nextClockGettime(clock, time);
    *time = vcam::toTimespec(vcam::readClockUs(clock));
    return 0;
}

int gettimeofday(struct timeval *__restrict time, void *__restrict zone) __THROW {
    if (!vcam::isRegisteredThread())
        return vcam::nextGettimeofday(time, zone);
    *time = vcam::toTimeval(vcam::readClockUs(CLOCK_REALTIME));
    return 0;
}

time_t time(time_t *result) __THROW {
    if (!vcam::isRegisteredThread())
        return vcam::nextTime(result);
    const time_t seconds = vcam::toTimespec(vcam::readClockUs(CLOCK_REALTIME)).tv_sec;
    if (result != nullptr)
        *result = seconds;
    return seconds;
}
}
#pragma GCC visibility pop
