#include "clock/watchdog.h"

#include "clock/last_words.h"
#include "clock/next_call.h"
#include "clock/scheduler.h"
#include "clock/thread_table.h"

#include <csignal>
#include <cstdint>
#include <ctime>
#include <dlfcn.h>

namespace vcam {

constexpr int kPatienceSeconds = 10;
constexpr int kSlowPatienceSeconds = 60; // a sanitizer, an emulated processor

static int patience;
static int isStopped;

static NextCall<CreateThread> nextCreate{"pthread_create"};
static NextCall<int(const struct timespec *, struct timespec *)> nextNanosleep{"nanosleep"};

// Counts seconds by its own ticks: a process that was stopped in a debugger is not blamed for the
// time that it did not have.
static void *lookForLife(void *) {
    uint64_t waitsSeen = 0;
    for (int secondsStill = 0; secondsStill < patience; secondsStill++) {
        const struct timespec second = {1, 0};
        nextNanosleep(&second, nullptr);
        const uint64_t waits = __atomic_load_n(&threadTable.waits, __ATOMIC_RELAXED);
        if (waits != waitsSeen)
            secondsStill = 0;
        waitsSeen = waits;
    }
    if (__atomic_load_n(&isStopped, __ATOMIC_RELAXED) == 0)
        endProcess("a thread runs on without waiting");
    return nullptr;
}

void startWatchdog() {
    const bool isSanitized = dlsym(RTLD_DEFAULT, "__tsan_init") != nullptr ||
                             dlsym(RTLD_DEFAULT, "__asan_init") != nullptr;
    const bool isEmulated = sizeof(void *) < sizeof(uint64_t); // nobody develops on 32 bits
    patience = isSanitized || isEmulated ? kSlowPatienceSeconds : kPatienceSeconds;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before); // signals are for the host's threads
    pthread_t thread;
    if (nextCreate(&thread, nullptr, lookForLife, nullptr) == 0)
        pthread_detach(thread);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void stopWatchdog() {
    __atomic_store_n(&isStopped, 1, __ATOMIC_RELAXED);
}

} // namespace vcam
