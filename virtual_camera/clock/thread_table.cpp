#include "clock/thread_table.h"

#include "clock/seeded_random.h"

#include <cerrno>
#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vcam {

ThreadTable threadTable;
__thread Thread *currentThread;

static constexpr uint64_t kTiesPurpose = 200; // no other user of seeds draws for it

static bool areTiesDrawn;
static SeededRandom ties(0, kTiesPurpose);

static Thread *findFreeSlot() {
    for (int i = 0; i < threadTable.used; ++i) {
        if (!threadTable.threads[i].isRegistered)
            return &threadTable.threads[i];
    }
    return threadTable.used < kMostThreads ? &threadTable.threads[threadTable.used++] : nullptr;
}

Thread *addThread(const char *name) {
    Thread *thread = findFreeSlot();
    if (thread == nullptr)
        return nullptr;
    *thread = Thread{};
    thread->isRegistered = true;
    thread->order = threadTable.nextOrder++;
    thread->deadlineUs = threadTable.nowUs;
    for (unsigned i = 0; i + 1 < sizeof(thread->name) && name[i] != '\0'; ++i)
        thread->name[i] = name[i];
    return thread;
}

void removeThread(Thread &thread) {
    thread.isRegistered = false;
}

void drawTies(uint64_t seed) {
    areTiesDrawn = seed != 0;
    ties = SeededRandom(seed, kTiesPurpose);
}

/// Every one of @p tied threads, offered one after the other, ends up first with the same chance.
static bool winsTie(const Thread &thread, const Thread &first, uint64_t tied) {
    return areTiesDrawn ? ties.drawBits() % tied == 0 : thread.order < first.order;
}

Thread *findEarliest() {
    Thread *earliest = nullptr;
    uint64_t tied = 0;
    for (int i = 0; i < threadTable.used; ++i) {
        Thread &thread = threadTable.threads[i];
        if (!thread.isRegistered)
            continue;
        const bool isFirst = earliest == nullptr || thread.deadlineUs < earliest->deadlineUs;
        if (!isFirst && thread.deadlineUs > earliest->deadlineUs)
            continue;
        tied = isFirst ? 1 : tied + 1;
        if (isFirst || winsTie(thread, *earliest, tied))
            earliest = &thread;
    }
    return earliest;
}

Thread *findLongestWaiter(const void *what) {
    Thread *longest = nullptr;
    for (int i = 0; i < threadTable.used; ++i) {
        Thread &thread = threadTable.threads[i];
        const bool waits = thread.isRegistered && thread.waitsOn == what;
        if (waits && (longest == nullptr || thread.waitTicket < longest->waitTicket))
            longest = &thread;
    }
    return longest;
}

Thread *findByHandle(pthread_t handle) {
    for (int i = 0; i < threadTable.used; ++i) {
        Thread &thread = threadTable.threads[i];
        if (thread.isRegistered && pthread_equal(thread.handle, handle) != 0)
            return &thread;
    }
    return nullptr;
}

// The futex and the word are the whole hand-over: no libc call, so no sanitizer in between.
void giveBaton(Thread &thread) {
    __atomic_store_n(&thread.baton, 1U, __ATOMIC_RELEASE);
    syscall(SYS_futex, &thread.baton, FUTEX_WAKE_PRIVATE, 1, nullptr, nullptr, 0);
}

void awaitBaton(Thread &self) {
    const int error = errno; // waiting for a turn is nothing that the program does
    while (__atomic_load_n(&self.baton, __ATOMIC_ACQUIRE) == 0) {
        if (syscall(SYS_futex, &self.baton, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0) != 0 &&
            errno == EINTR)
            self.wasInterrupted = true;
    }
    __atomic_store_n(&self.baton, 0U, __ATOMIC_RELAXED);
    errno = error;
}

} // namespace vcam
