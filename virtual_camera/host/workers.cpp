#include "host/workers.h"

#include <cstdio>
#include <ctime>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vcam {

namespace {
struct Progress {
    int next;
    int done;
};
} // namespace

void moveToProcessor(const cpu_set_t &allowed, int number) {
    cpu_set_t one;
    CPU_ZERO(&one);
    for (size_t processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(processor, &allowed) && number-- == 0)
            CPU_SET(processor, &one);
    }
    sched_setaffinity(0, sizeof one, &one);
}

/// The end is what the mean so far promises. The line leaves the cursor at its start, so that what
/// a worker says takes its place.
static void drawProgress(int done, int count, time_t start) {
    char end[32] = "";
    if (done > 0) {
        const time_t then = start + (time(nullptr) - start) * count / done;
        struct tm local = {};
        strftime(end, sizeof end, ", ends at %H:%M:%S", localtime_r(&then, &local));
    }
    fprintf(stderr, "%d/%d%s\033[K\r", done, count, end);
}

static void awaitAll(const Progress &progress, int count) {
    const useconds_t lookUs = 250000;
    const bool isWatched = isatty(STDERR_FILENO) != 0;
    const time_t start = time(nullptr);
    while (waitpid(-1, nullptr, isWatched ? WNOHANG : 0) >= 0) {
        if (!isWatched)
            continue;
        drawProgress(__atomic_load_n(&progress.done, __ATOMIC_RELAXED), count, start);
        usleep(lookUs);
    }
    if (isWatched)
        fputs("\033[K", stderr);
}

/// Indices are handed out as workers become free: some take much longer than others.
void playAll(int count, const std::function<void(int index)> &play) {
    cpu_set_t allowed;
    sched_getaffinity(0, sizeof allowed, &allowed);
    const int workers = CPU_COUNT(&allowed);
    auto *progress = share<Progress>();
    fflush(nullptr);
    for (int worker = 0; worker < workers; ++worker) {
        if (fork() != 0)
            continue;
        moveToProcessor(allowed, worker);
        int index;
        while ((index = __atomic_fetch_add(&progress->next, 1, __ATOMIC_RELAXED)) < count) {
            play(index);
            __atomic_add_fetch(&progress->done, 1, __ATOMIC_RELAXED);
        }
        fflush(nullptr);
        _exit(0);
    }
    awaitAll(*progress, count);
}

} // namespace vcam
