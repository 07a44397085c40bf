// Two threads on one preset, one instruction at a time.
//
// Left to themselves two threads meet between two stores once in a blue moon, and on a busy machine
// never. So a tracer runs them in turns of a few instructions drawn from a seed: the same program
// with the same seed meets in the same places.
#include "fixtures.h"

#include "af_lens/model/preset_table.h"
#include "devices/seeded_random.h"

#include <csignal>
#include <pthread.h>
#include <sys/ptrace.h>

namespace {

constexpr int kStores = 100;
constexpr int kLongestTurn = 30; // instructions; a store takes about twice as many
constexpr int kPreset = 5;
constexpr int kNoTracer = 100;

int halves = 0; // the two threads never run at once

void storeAndRead(unsigned first) {
    for (unsigned i = 0; i < kStores; ++i) {
        unsigned zoom = 0, focus = 0;
        Lens_Write_PresetInfo(kPreset, first + 2 * i, first + 2 * i);
        readPreset(kPreset, &zoom, &focus);
        halves += zoom != focus ? 1 : 0;
    }
}

void *runSecondThread(void *) {
    storeAndRead(3);
    raise(SIGSTOP); // tells the tracer that this thread is done
    return nullptr;
}

[[noreturn]] void runTraced() {
    const auto accept = [](PRESET_INF *) { return 0; };
    AF_Manager_Init_PresetInfo_API(accept, accept);
    storeAndRead(2); // lets the loader find what is called
    if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0)
        _exit(kNoTracer);
    raise(SIGSTOP);
    pthread_t thread;
    pthread_create(&thread, nullptr, runSecondThread, nullptr);
    raise(SIGSTOP);
    storeAndRead(2);
    raise(SIGSTOP);
    _exit(halves < kNoTracer ? halves : kNoTracer - 1);
}

int waitForStop(pid_t thread) {
    int status = 0;
    waitpid(thread, &status, __WALL);
    return status;
}

/// False once the thread is done.
bool stepThread(pid_t thread) {
    ptrace(PTRACE_SINGLESTEP, thread, nullptr, nullptr);
    const int status = waitForStop(thread);
    return WIFSTOPPED(status) && WSTOPSIG(status) == SIGTRAP;
}

/// Half pairs that the threads have read; -1 when they could not be traced.
int countHalves(uint64_t seed) {
    fflush(nullptr);
    const pid_t first = fork();
    if (first == 0)
        runTraced();
    if (!WIFSTOPPED(waitForStop(first)))
        return -1;
    ptrace(PTRACE_SETOPTIONS, first, nullptr, PTRACE_O_TRACECLONE | PTRACE_O_EXITKILL);
    ptrace(PTRACE_CONT, first, nullptr, nullptr);
    waitForStop(first); // the second thread is there
    unsigned long second = 0;
    ptrace(PTRACE_GETEVENTMSG, first, nullptr, &second);
    const pid_t threads[] = {first, static_cast<pid_t>(second)};
    waitForStop(threads[1]);
    ptrace(PTRACE_CONT, first, nullptr, nullptr);
    waitForStop(first);

    vcam::SeededRandom random(seed, 0);
    bool runs[] = {true, true};
    while (runs[0] || runs[1]) {
        const int turn = random.drawBetween(0, 1);
        for (int left = random.drawBetween(1, kLongestTurn); left > 0 && runs[turn]; --left)
            runs[turn] = stepThread(threads[turn]);
    }
    ptrace(PTRACE_CONT, first, nullptr, nullptr);
    waitForStop(threads[1]);
    const int status = waitForStop(first);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace

TEST(PresetThreads, pair_is_never_read_in_halves_while_two_threads_store) {
    for (const uint64_t seed : {1u, 2u, 3u})
        EXPECT_EQ(countHalves(seed), 0) << "seed " << seed;
}
