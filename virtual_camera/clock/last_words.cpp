#include "clock/last_words.h"

#include "clock/next_call.h"
#include "clock/thread_table.h"
#include "clock/trace.h"
#include "clock/unobserved.h"
#include "clock/virtual_clock.h"

#include <cstdio>
#include <sys/syscall.h>
#include <unistd.h>

namespace vcam {

static constexpr int kTailLines = 40;

static NextCall<ssize_t(int, const void *, size_t)> nextWrite{"write"};

static void say(const char *text, int length) {
    if (length > 0)
        nextWrite(STDERR_FILENO, text, static_cast<size_t>(length));
}

static void sayThread(const Thread &thread) {
    char text[160];
    const char *state = "sleeps";
    if (thread.waitKind != nullptr)
        state = thread.waitKind;
    else if (&thread == threadTable.running)
        state = "runs";
    int length = snprintf(text, sizeof(text), "  %-32s %-10s ", thread.name, state);
    say(text, length);
    if (thread.deadlineUs == kForeverUs)
        length = snprintf(text, sizeof(text), "no deadline\n");
    else
        length = snprintf(text, sizeof(text), "until %lld us\n",
                          static_cast<long long>(thread.deadlineUs));
    say(text, length);
}

void endProcess(const char *reason) {
    const Unobserved unobserved;
    char text[200];
    say(text, snprintf(text, sizeof(text), "\nvirtual camera stopped at %lld us: %s\nthreads:\n",
                       static_cast<long long>(threadTable.nowUs), reason));
    for (int i = 0; i < threadTable.used; ++i) {
        if (threadTable.threads[i].isRegistered)
            sayThread(threadTable.threads[i]);
    }
    say(text, snprintf(text, sizeof(text), "last of the trace:\n"));
    writeTraceTail(STDERR_FILENO, kTailLines);
    flushTrace();
    syscall(SYS_exit_group,
            kCameraStoppedStatus); // no handlers: the other threads stay where they are
    __builtin_unreachable();
}

} // namespace vcam
