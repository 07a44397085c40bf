#include "clock/thread_table.h"

#include <cerrno>
#include <climits>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace vcam {

ThreadTable threadTable;
__thread Thread *currentThread;

static Thread *findFreeSlot() {
    for (int i = 0; i < threadTable.used; i++) {
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
    for (unsigned i = 0; i + 1 < sizeof(thread->name) && name[i] != '\0'; i++)
        thread->name[i] = name[i];
    return thread;
}

void removeThread(Thread &thread) {
    thread.isRegistered = false;
}

Thread *findEarliest() {
    Thread *earliest = nullptr;
    for (int i = 0; i < threadTable.used; i++) {
        Thread &thread = threadTable.threads[i];
        if (!thread.isRegistered)
            continue;
        const bool isFirst = earliest == nullptr || thread.deadlineUs < earliest->deadlineUs;
        const bool winsTie =
            !isFirst && thread.deadlineUs == earliest->deadlineUs && thread.order < earliest->order;
        if (isFirst || winsTie)
            earliest = &thread;
    }
    return earliest;
}

Thread *findLongestWaiter(const void *what) {
    Thread *longest = nullptr;
    for (int i = 0; i < threadTable.used; i++) {
        Thread &thread = threadTable.threads[i];
        const bool waits = thread.isRegistered && thread.waitsOn == what;
        if (waits && (longest == nullptr || thread.waitTicket < longest->waitTicket))
            longest = &thread;
    }
    return longest;
}

Thread *findByHandle(pthread_t handle) {
    for (int i = 0; i < threadTable.used; i++) {
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
    while (__atomic_load_n(&self.baton, __ATOMIC_ACQUIRE) == 0) {
        if (syscall(SYS_futex, &self.baton, FUTEX_WAIT_PRIVATE, 0, nullptr, nullptr, 0) != 0 &&
            errno == EINTR)
            self.wasInterrupted = true;
    }
    __atomic_store_n(&self.baton, 0U, __ATOMIC_RELAXED);
}

} // namespace vcam
