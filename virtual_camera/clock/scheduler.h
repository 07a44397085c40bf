// Who runs: registered threads come, wait for something, are woken, and go.
//
// The boundary maps POSIX threads, mutexes and conditions onto these; devices need no more than
// virtual_clock.h. Every function but startClock is called by the thread that holds the baton.
#pragma once

#include <cstdint>

#include <pthread.h>

namespace vcam {

struct Thread;

/// Begin virtual time; the calling thread is registered as "host" and holds the baton. Threads due
/// at one instant go on in the order of registration, or in one drawn from @p tieSeed if not 0.
/// Threads are the kernel's if @p areKernelThreadsWanted, or where there are no contexts.
void startClock(double pace, uint64_t tieSeed, bool areKernelThreadsWanted);

/// Time stands still from now on: the caller's calls go to libc, the other threads never run again.
void stopClock();

/// Wait until someone wakes the waiters of @p what, an address that is only compared. @p kind
/// names it for people. True when woken, false at the deadline.
bool waitOn(const void *what, const char *kind, int64_t deadlineUs);

/// False when nobody waits for @p what.
bool wakeLongest(const void *what);
void wakeEverybody(const void *what);

/// pthread_create's contract, by way of @p create, which is the definition that would have been
/// called without us. The new thread is ready at once and runs when the caller waits.
using CreateThread = int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
int startThread(pthread_t *handle, const pthread_attr_t *attributes, void *(*routine)(void *),
                void *argument, CreateThread *create);

/// What a kernel thread of ours runs, and what a thread does last, on whichever way.
void *runKernelThread(void *thread);
void endThread(Thread &self);

/// pthread_join's contract, waiting in virtual time for a registered thread.
int joinThread(pthread_t handle, void **result);

/// A call that takes no time was made. A loop of nothing but such calls would never end, so after
/// some thousand without a wait each costs a microsecond.
void chargeCall();

} // namespace vcam
