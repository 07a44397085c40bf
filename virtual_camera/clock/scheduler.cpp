#include "clock/scheduler.h"

#include "clock/handover.h"
#include "clock/last_words.h"
#include "clock/next_call.h"
#include "clock/pace.h"
#include "clock/thread_table.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "clock/watchdog.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <dlfcn.h>
#include <sched.h>

namespace vcam {

static constexpr uint32_t kFreeCalls = 4096;

// Its destructor runs when a thread ends in whichever way, after its own clean-up handlers. The
// destructors of all keys run in rounds, as long as one sets its key again: it waits for the others
// to come to rest, but leaves the very last round to a sanitizer's own.
static pthread_key_t endOfThread;
static constexpr uint32_t kEndRound = PTHREAD_DESTRUCTOR_ITERATIONS - 1;

static NextCall<int(pthread_key_t *, void (*)(void *))> nextKeyCreate{"pthread_key_create"};
static NextCall<int(pthread_key_t, const void *)> nextSetspecific{"pthread_setspecific"};

static uint64_t nextTicket;

/// Let time pass until a thread is due, and say which.
static Thread &advanceToNext() {
    __atomic_store_n(&threadTable.waits, threadTable.waits + 1, __ATOMIC_RELAXED);
    for (;;) {
        Thread *next = findEarliest();
        if (next->deadlineUs == kForeverUs && !isOutsideWatched())
            endProcess("every thread waits and none has a deadline");
        if (next->deadlineUs <= threadTable.nowUs)
            return *next;
        if (!isPaced()) {
            threadTable.nowUs = next->deadlineUs;
            return *next;
        }
        const PaceStep step = keepPace(threadTable.nowUs, next->deadlineUs);
        threadTable.nowUs = step.reachedUs;
        if (step.hasInput)
            takeOutsideInput(); // may wake somebody who is due before the one we waited for
    }
}

static void passBatonFrom(Thread &self) {
    Thread &next = advanceToNext();
    threadTable.running = &next;
    if (&next == &self)
        return;
    way().handOver(self, next);
}

static void setWait(Thread &thread, const void *what, const char *kind, int64_t deadlineUs) {
    thread.waitsOn = what;
    thread.waitKind = kind;
    thread.deadlineUs = std::max(deadlineUs, threadTable.nowUs);
    thread.wasWoken = false;
    thread.waitTicket = nextTicket++;
}

bool waitOn(const void *what, const char *kind, int64_t deadlineUs) {
    Thread &self = *currentThread;
    setWait(self, what, kind, deadlineUs);
    passBatonFrom(self);
    self.freeCalls = 0;
    self.waitsOn = nullptr;
    self.waitKind = nullptr;
    return self.wasWoken;
}

bool wakeLongest(const void *what) {
    Thread *thread = findLongestWaiter(what);
    if (thread == nullptr)
        return false;
    thread->waitsOn = nullptr;
    thread->wasWoken = true;
    thread->deadlineUs = threadTable.nowUs;
    return true;
}

void wakeEverybody(const void *what) {
    while (wakeLongest(what)) {
    }
}

void chargeCall() {
    Thread &self = *currentThread;
    if (++self.freeCalls <= kFreeCalls)
        return;
    waitOn(nullptr, nullptr, threadTable.nowUs + 1);
    self.freeCalls = kFreeCalls;
}

// ---- coming and going

void endThread(Thread &self) {
    trace("clock", "end", "thread=%s", self.name);
    currentThread = nullptr; // what the thread still does on its way out is libc's affair
    removeThread(self);
    wakeEverybody(&self);
    if (findEarliest() == nullptr)
        return;
    Thread &next = advanceToNext();
    threadTable.running = &next;
    way().handOverLast(next);
}

static void destroyThread(void *thread) {
    Thread &self = *static_cast<Thread *>(thread);
    if (++self.endRounds < kEndRound)
        nextSetspecific(endOfThread, thread);
    else
        endThread(self);
}

void *runKernelThread(void *thread) {
    Thread &self = *static_cast<Thread *>(thread);
    awaitBaton(self);
    currentThread = &self;
    nextSetspecific(endOfThread, &self);
    return self.routine(self.argument);
}

static bool isNameTaken(const char *name) {
    for (int i = 0; i < threadTable.used; ++i) {
        const Thread &thread = threadTable.threads[i];
        if (thread.isRegistered && __builtin_strcmp(thread.name, name) == 0)
            return true;
    }
    return false;
}

/// The name of the start routine where it is exported, else the thread's number: both are the same
/// in every build of one source, which a raw address is not.
static void chooseName(char *name, size_t size, void *(*routine)(void *)) {
    Dl_info info;
    const bool isNamed =
        dladdr(reinterpret_cast<void *>(routine), &info) != 0 && info.dli_sname != nullptr;
    const int number = threadTable.nextOrder;
    const int width = static_cast<int>(size) - 12;
    if (!isNamed)
        snprintf(name, size, "thread%d", number);
    else
        snprintf(name, size, "%.*s", width, info.dli_sname);
    if (isNamed && isNameTaken(name))
        snprintf(name, size, "%.*s.%d", width, info.dli_sname, number);
}

int startThread(pthread_t *handle, const pthread_attr_t *attributes, void *(*routine)(void *),
                void *argument, CreateThread *create) {
    char name[sizeof(Thread::name)];
    chooseName(name, sizeof(name), routine);
    Thread *thread = addThread(name);
    if (thread == nullptr)
        return EAGAIN;
    thread->routine = routine;
    thread->argument = argument;
    const int result = way().create(*thread, attributes, create);
    if (result != 0) {
        removeThread(*thread);
        return result;
    }
    *handle = thread->handle;
    trace("clock", "start", "thread=%s", name);
    return 0;
}

int joinThread(pthread_t handle, void **result) {
    Thread *thread = findByHandle(handle);
    if (thread != nullptr && thread != currentThread)
        waitOn(thread, "join", kForeverUs);
    return way().join(handle, result);
}

/// Hand-overs between threads on one processor are ten times cheaper than across processors.
static void stayOnOneProcessor() {
    cpu_set_t here;
    CPU_ZERO(&here);
    CPU_SET(static_cast<size_t>(std::max(sched_getcpu(), 0)), &here);
    sched_setaffinity(0, sizeof(here), &here);
}

void startClock(double pace, uint64_t tieSeed, bool areKernelThreadsWanted) {
    chooseWay(areKernelThreadsWanted);
    nextKeyCreate(&endOfThread, destroyThread);
    drawTies(tieSeed);
    startPace(pace, threadTable.nowUs);
    if (pace <= 0) { // people who watch may block the camera as long as they like
        startWatchdog();
        stayOnOneProcessor();
    }
    Thread *host = addThread("host");
    host->handle = pthread_self();
    nextSetspecific(endOfThread, host);
    threadTable.running = host;
    currentThread = host;
}

void stopClock() {
    stopWatchdog();
    currentThread = nullptr;
}

} // namespace vcam
