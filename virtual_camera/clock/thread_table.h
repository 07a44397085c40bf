// The registered threads, in a fixed table, and the baton that one of them holds.
//
// Everything here belongs to the thread that holds the baton; only the futex word is touched by
// two. A fixed table and no library calls: the table is read from a signal handler, and what a
// sanitizer would look at (memcpy, containers) stays out of it.
#pragma once

#include <cstdint>
#include <pthread.h>

namespace vcam {

struct Thread {
    uint32_t baton;     ///< Futex word: 1 when this thread may run.
    uint32_t freeCalls; ///< Calls since its last wait; see chargeCall.
    uint32_t endRounds; ///< Rounds of its keys' destructors so far.
    bool isRegistered;
    bool wasWoken;        ///< Its last wait ended before the deadline.
    bool wasInterrupted;  ///< A signal handler has run on it while it waited.
    int order;            ///< Of registration; breaks ties unless drawn, never used twice.
    int64_t deadlineUs;   ///< When it goes on, if nobody wakes it.
    const void *waitsOn;  ///< What it waits for; null when it sleeps or runs.
    const char *waitKind; ///< The same for people.
    uint64_t waitTicket;  ///< Grows with every wait: the smallest has waited longest.
    pthread_t handle;
    void *(*routine)(void *);
    void *argument;
    char name[40];
};

constexpr int kMostThreads = 64;

struct ThreadTable {
    Thread threads[kMostThreads];
    int used; ///< Slots from here on were never taken.
    int nextOrder;
    int64_t nowUs;
    uint64_t waits;  ///< Waits so far: the watchdog's sign of life.
    Thread *running; ///< Who holds the baton.
};

extern ThreadTable threadTable;

/// The calling thread's entry; null when it is not registered, which is when calls go to libc.
extern __thread Thread *currentThread;

inline bool isRegisteredThread() {
    return currentThread != nullptr;
}

/// Take a slot, ready to run now; null when all are taken.
Thread *addThread(const char *name);

void removeThread(Thread &thread);

/// Break ties by lot from now on, the same lots for the same @p seed; 0: in order of registration.
void drawTies(uint64_t seed);

/// The thread that goes on next: the one with the earliest deadline, of several the first
/// registered or the one whose lot is drawn. Null without any.
Thread *findEarliest();

/// The one that has waited longest for @p what, or null.
Thread *findLongestWaiter(const void *what);

Thread *findByHandle(pthread_t handle);

/// Let @p thread run; the caller must stop touching the table.
void giveBaton(Thread &thread);

/// Block, for real, until the calling thread has the baton.
void awaitBaton(Thread &self);

} // namespace vcam
