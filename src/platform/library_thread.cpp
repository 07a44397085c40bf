#include "platform/library_thread.h"

#include <pthread.h>
#include <signal.h>

// A blocked signal that the thread's own fault raises would end the process without the host's
// handler, which is there to say what happened.
static const int kFaults[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS};

static sigset_t makeMask() {
    sigset_t mask;
    sigfillset(&mask);
    for (const int fault : kFaults)
        sigdelset(&mask, fault);
    return mask;
}

// A thread begins with its creator's mask.
int startLibraryThread(void *(*body)(void *)) {
    const sigset_t mask = makeMask();
    sigset_t before;
    pthread_t thread;
    pthread_sigmask(SIG_SETMASK, &mask, &before);
    const int result = pthread_create(&thread, nullptr, body, nullptr);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return result == 0 ? 0 : -1;
}
