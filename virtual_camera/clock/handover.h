// How the baton changes hands: two ways with one meaning.
//
// Kernel threads: every registered thread is one, and waits on a futex for its turn. Sanitizers
// need that, so do other processors than x86-64 and a host that nobody rebuilt, which may do with
// its threads whatever POSIX allows.
//
// Contexts (contexts/), where a program has them linked: the registered threads are stacks within
// one kernel thread, and a turn is a change of stacks. Threads that are not registered stay the
// kernel's.
#pragma once

#include "clock/scheduler.h"
#include "clock/thread_table.h"

namespace vcam {

/// A way to take turns.
struct Way {
    /// Give the baton to @p next; returns when @p self has it again.
    void (*handOver)(Thread &self, Thread &next);

    /// The same by a thread that has ended. A context does not return.
    void (*handOverLast)(Thread &next);

    /// pthread_create's contract for @p thread, whose handle is set.
    int (*create)(Thread &thread, const pthread_attr_t *attributes, CreateThread *create);

    /// pthread_join's contract, for a thread that has ended in virtual time.
    int (*join)(pthread_t handle, void **result);
};

/// The contexts, if they are linked.
extern const Way contextWay __attribute__((weak));

/// Take turns by contexts from now on, if there are any and nobody asks for kernel threads.
void chooseWay(bool areKernelThreadsWanted);

const Way &way();

} // namespace vcam
