// POSIX threads in virtual time. A mutex and a condition keep their real state in the real object,
// which a sanitizer follows as usual; only the waiting is ours, on the object's address.
#include "boundary/calendar.h"
#include "boundary/faults.h"
#include "clock/next_call.h"
#include "clock/scheduler.h"
#include "clock/thread_table.h"
#include "clock/virtual_clock.h"

#include <cerrno>
#include <pthread.h>

namespace vcam {

using ThreadRoutine = void *(void *);
using MutexCall = int(pthread_mutex_t *);
using ConditionCall = int(pthread_cond_t *);

static NextCall<CreateThread> nextCreate{"pthread_create"};
static NextCall<int(pthread_t, void **)> nextJoin{"pthread_join"};
static NextCall<MutexCall> nextLock{"pthread_mutex_lock"};
static NextCall<MutexCall> nextTrylock{"pthread_mutex_trylock"};
static NextCall<MutexCall> nextUnlock{"pthread_mutex_unlock"};
static NextCall<int(pthread_mutex_t *, const struct timespec *)> nextTimedlock{
    "pthread_mutex_timedlock"};
static NextCall<int(pthread_mutex_t *, clockid_t, const struct timespec *)> nextClocklock{
    "pthread_mutex_clocklock"};
static NextCall<int(pthread_cond_t *, pthread_mutex_t *)> nextWait{"pthread_cond_wait"};
static NextCall<int(pthread_cond_t *, pthread_mutex_t *, const struct timespec *)> nextTimedwait{
    "pthread_cond_timedwait"};
static NextCall<int(pthread_cond_t *, pthread_mutex_t *, clockid_t, const struct timespec *)>
    nextClockwait{"pthread_cond_clockwait"};
static NextCall<ConditionCall> nextSignal{"pthread_cond_signal"};
static NextCall<ConditionCall> nextBroadcast{"pthread_cond_broadcast"};

/// Only trylock is ever asked of the real mutex: a real lock would block the thread that holds the
/// baton, and with it everybody.
static int lock(pthread_mutex_t *mutex, int64_t deadlineUs) {
    for (;;) {
        const int result = nextTrylock(mutex);
        if (result != EBUSY)
            return result;
        if (!waitOn(mutex, "mutex", deadlineUs))
            return ETIMEDOUT;
    }
}

static int unlock(pthread_mutex_t *mutex) {
    const int result = nextUnlock(mutex);
    if (result == 0)
        wakeLongest(mutex);
    return result;
}

/// Nobody runs between the unlock and the wait, so no signal is missed in between.
static int waitForCondition(pthread_cond_t *condition, pthread_mutex_t *mutex, int64_t deadlineUs) {
    const int result = unlock(mutex);
    if (result != 0)
        return result;
    const bool wasWoken = waitOn(condition, "condition", deadlineUs);
    lock(mutex, kForeverUs);
    return wasWoken ? 0 : ETIMEDOUT;
}

static int waitUntil(pthread_cond_t *condition, pthread_mutex_t *mutex,
                     const struct timespec &time) {
    if (failsNow("pthread_cond_timedwait", "")) {
        const int error = errno;
        chargeCall(); // the program may come back at once, for ever
        return error;
    }
    return hasValidNs(time) ? waitForCondition(condition, mutex, toDeadlineUs(time)) : EINVAL;
}

static int lockUntil(pthread_mutex_t *mutex, const struct timespec &time) {
    const int result = nextTrylock(mutex);
    if (result != EBUSY)
        return result;
    return hasValidNs(time) ? lock(mutex, toDeadlineUs(time)) : EINVAL;
}

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int pthread_create(pthread_t *__restrict handle, const pthread_attr_t *__restrict attributes,
                   vcam::ThreadRoutine *routine, void *__restrict argument) __THROWNL {
    if (!vcam::isRegisteredThread())
        return vcam::nextCreate(handle, attributes, routine, argument);
    if (vcam::failsNow("pthread_create", ""))
        return errno;
    return vcam::startThread(handle, attributes, routine, argument, vcam::nextCreate);
}

int pthread_join(pthread_t handle, void **result) {
    return vcam::isRegisteredThread() ? vcam::joinThread(handle, result)
                                      : vcam::nextJoin(handle, result);
}

int pthread_mutex_lock(pthread_mutex_t *mutex) __THROWNL {
    return vcam::isRegisteredThread() ? vcam::lock(mutex, vcam::kForeverUs) : vcam::nextLock(mutex);
}

int pthread_mutex_trylock(pthread_mutex_t *mutex) __THROWNL {
    if (vcam::isRegisteredThread())
        vcam::chargeCall();
    return vcam::nextTrylock(mutex);
}

int pthread_mutex_timedlock(pthread_mutex_t *__restrict mutex,
                            const struct timespec *__restrict time) __THROWNL {
    return vcam::isRegisteredThread() ? vcam::lockUntil(mutex, *time)
                                      : vcam::nextTimedlock(mutex, time);
}

int pthread_mutex_clocklock(pthread_mutex_t *__restrict mutex, clockid_t clock,
                            const struct timespec *__restrict time) __THROWNL {
    return vcam::isRegisteredThread() ? vcam::lockUntil(mutex, *time)
                                      : vcam::nextClocklock(mutex, clock, time);
}

int pthread_mutex_unlock(pthread_mutex_t *mutex) __THROWNL {
    return vcam::isRegisteredThread() ? vcam::unlock(mutex) : vcam::nextUnlock(mutex);
}

int pthread_cond_wait(pthread_cond_t *__restrict condition, pthread_mutex_t *__restrict mutex) {
    return vcam::isRegisteredThread() ? vcam::waitForCondition(condition, mutex, vcam::kForeverUs)
                                      : vcam::nextWait(condition, mutex);
}

int pthread_cond_timedwait(pthread_cond_t *__restrict condition, pthread_mutex_t *__restrict mutex,
                           const struct timespec *__restrict time) {
    return vcam::isRegisteredThread() ? vcam::waitUntil(condition, mutex, *time)
                                      : vcam::nextTimedwait(condition, mutex, time);
}

int pthread_cond_clockwait(pthread_cond_t *__restrict condition, pthread_mutex_t *__restrict mutex,
                           clockid_t clock, const struct timespec *__restrict time) {
    return vcam::isRegisteredThread() ? vcam::waitUntil(condition, mutex, *time)
                                      : vcam::nextClockwait(condition, mutex, clock, time);
}

int pthread_cond_signal(pthread_cond_t *condition) __THROWNL {
    if (!vcam::isRegisteredThread())
        return vcam::nextSignal(condition);
    vcam::wakeLongest(condition);
    return 0;
}

int pthread_cond_broadcast(pthread_cond_t *condition) __THROWNL {
    if (!vcam::isRegisteredThread())
        return vcam::nextBroadcast(condition);
    vcam::wakeEverybody(condition);
    return 0;
}
}
#pragma GCC visibility pop
