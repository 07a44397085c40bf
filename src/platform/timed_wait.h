// The one timed wait of the library: at most a second, by the time of day.
#pragma once

#include <pthread.h>

/// Wait on @p condition once, with @p lock held. A signal, the timeout and a spurious wake-up all
/// return alike. A thread that its host cancels meanwhile leaves the lock free.
void waitAtMostOneSecond(pthread_cond_t *condition, pthread_mutex_t *lock);
