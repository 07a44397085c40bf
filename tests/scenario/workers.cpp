#include "scenario/workers.h"

#include <cstdio>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace scenario {

/// The camera stays on the processor on which it is powered on: workers must not share one.
static void moveToProcessor(const cpu_set_t &allowed, int number) {
    cpu_set_t one;
    CPU_ZERO(&one);
    for (size_t processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(processor, &allowed) && number-- == 0)
            CPU_SET(processor, &one);
    }
    sched_setaffinity(0, sizeof one, &one);
}

/// Indices are handed out as workers become free: some take much longer than others.
void playAll(int count, const std::function<void(int index)> &play) {
    cpu_set_t allowed;
    sched_getaffinity(0, sizeof allowed, &allowed);
    const int workers = CPU_COUNT(&allowed);
    int *next = share<int>();
    fflush(nullptr);
    for (int worker = 0; worker < workers; ++worker) {
        if (fork() != 0)
            continue;
        moveToProcessor(allowed, worker);
        for (int index; (index = __atomic_fetch_add(next, 1, __ATOMIC_RELAXED)) < count;)
            play(index);
        fflush(nullptr);
        _exit(0);
    }
    while (wait(nullptr) > 0) {
    }
}

} // namespace scenario
