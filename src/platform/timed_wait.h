// The one timed wait of the library: at most a second, by the time of day.
#pragma once

#include <pthread.h>
#include <sys/time.h>

/// Wait on @p condition once, with @p lock held. A signal, the timeout and a spurious wake-up all
/// return alike.
inline void waitAtMostOneSecond(pthread_cond_t *condition, pthread_mutex_t *lock) {
    const long kNanosecondsPerMicrosecond = 1000;
    struct timeval now;
    gettimeofday(&now, nullptr);
    struct timespec timeout;
    timeout.tv_sec = now.tv_sec + 1;
    timeout.tv_nsec = static_cast<long>(now.tv_usec) * kNanosecondsPerMicrosecond;
    pthread_cond_timedwait(condition, lock, &timeout);
}
