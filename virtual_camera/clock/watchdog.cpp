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

static constexpr time_t kPatienceSeconds = 10;
static constexpr time_t kSlowPatienceSeconds = 60; // a sanitizer, an emulated processor
static constexpr int kBlockedPatienceTicks = 300;

static time_t patience;
static int isStopped;

static NextCall<CreateThread> nextCreate{"pthread_create"};
static NextCall<int(const struct timespec *, struct timespec *)> nextNanosleep{"nanosleep"};
static NextCall<int(clockid_t, struct timespec *)> nextClockGettime{"clock_gettime"};

static time_t readProcessorSeconds() {
    struct timespec used = {};
    nextClockGettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return used.tv_sec;
}

// Real seconds are counted by ticks of its own: a process that was stopped in a debugger or got no
// processor is not blamed for the time that it did not have.
static void *lookForLife(void *) {
    const char *reason = nullptr;
    uint64_t waitsSeen = 0;
    time_t usedThen = readProcessorSeconds();
    int ticksStill = 0;
    while (reason == nullptr) {
        const struct timespec second = {1, 0};
        nextNanosleep(&second, nullptr);
        const uint64_t waits = __atomic_load_n(&threadTable.waits, __ATOMIC_RELAXED);
        const time_t used = readProcessorSeconds();
        if (waits != waitsSeen) {
            waitsSeen = waits;
            usedThen = used;
            ticksStill = 0;
        } else if (used - usedThen > patience) {
            reason = "a thread runs on without waiting";
        } else if (++ticksStill > kBlockedPatienceTicks) {
            reason = "a thread blocks for real, outside of virtual time";
        }
    }
    if (__atomic_load_n(&isStopped, __ATOMIC_RELAXED) == 0)
        endProcess(reason);
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
