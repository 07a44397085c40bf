#include "clock/watchdog.h"

#include "clock/last_words.h"
#include "clock/thread_table.h"

#include <csignal>
#include <dlfcn.h>
#include <sys/time.h>

namespace vcam {

constexpr int kPatienceSeconds = 10;
constexpr int kSanitizerPatienceSeconds = 60;

static volatile sig_atomic_t patience;
static volatile sig_atomic_t secondsStill;
static volatile sig_atomic_t sleepsForReal;
static uint64_t waitsSeen;

// Counts seconds by its own ticks: a process that was stopped in a debugger, or starved by a busy
// machine, is not blamed for the time that it did not have.
static void lookForLife(int) {
    const uint64_t waits = __atomic_load_n(&threadTable.waits, __ATOMIC_RELAXED);
    if (waits != waitsSeen || sleepsForReal != 0) {
        waitsSeen = waits;
        secondsStill = 0;
        return;
    }
    secondsStill = secondsStill + 1;
    if (secondsStill >= patience)
        endProcess("a thread runs on without waiting");
}

/// libc's own sigaction: a sanitizer's would hold the signal back until the next call that it
/// knows, which an endless loop never makes.
static int setActionUnseen(int signal, const struct sigaction *action) {
    using SetAction = int(int, const struct sigaction *, struct sigaction *);
    void *libc = dlopen("libc.so.6", RTLD_LAZY | RTLD_NOLOAD);
    if (libc == nullptr)
        return sigaction(signal, action, nullptr);
    const auto setAction = reinterpret_cast<SetAction *>(dlsym(libc, "sigaction"));
    return setAction(signal, action, nullptr);
}

void startWatchdog(int patienceSeconds) {
    patience = patienceSeconds;
    secondsStill = 0;
    struct sigaction action = {};
    action.sa_handler = lookForLife;
    action.sa_flags = SA_RESTART;
    setActionUnseen(SIGALRM, &action);
    const time_t period = patienceSeconds > 0 ? 1 : 0;
    const struct itimerval timer = {{period, 0}, {period, 0}};
    setitimer(ITIMER_REAL, &timer, nullptr);
}

void startWatchdog() {
    const bool isSanitized = dlsym(RTLD_DEFAULT, "__tsan_init") != nullptr ||
                             dlsym(RTLD_DEFAULT, "__asan_init") != nullptr;
    startWatchdog(isSanitized ? kSanitizerPatienceSeconds : kPatienceSeconds);
}

void allowRealSleep(bool allowed) {
    sleepsForReal = allowed ? 1 : 0;
}

} // namespace vcam
