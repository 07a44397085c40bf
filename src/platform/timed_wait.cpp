#include "platform/timed_wait.h"

#include <sys/time.h>
#include <time.h>

static const long kNanosecondsPerMicrosecond = 1000;

static void unlock(void *lock) {
    pthread_mutex_unlock(static_cast<pthread_mutex_t *>(lock));
}

void waitAtMostOneSecond(pthread_cond_t *condition, pthread_mutex_t *lock) {
    struct timeval now;
    gettimeofday(&now, nullptr);
    struct timespec timeout;
    timeout.tv_sec = now.tv_sec + 1;
    timeout.tv_nsec = static_cast<long>(now.tv_usec) * kNanosecondsPerMicrosecond;
    pthread_cleanup_push(unlock, lock); // a cancelled wait ends with the lock held again
    pthread_cond_timedwait(condition, lock, &timeout);
    pthread_cleanup_pop(0);
}
