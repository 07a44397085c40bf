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

// A thread is marked by a value of its own that is not null. Where no key is to be had, none is.
static pthread_once_t markIsMade = PTHREAD_ONCE_INIT;
static pthread_key_t mark;
static bool hasMark = false;

static void makeMark() {
    hasMark = pthread_key_create(&mark, nullptr) == 0;
}

void enterLibraryThread() {
    pthread_once(&markIsMade, makeMark);
    if (hasMark)
        pthread_setspecific(mark, &mark);
}

bool isLibraryThread() {
    pthread_once(&markIsMade, makeMark);
    return hasMark && pthread_getspecific(mark) != nullptr;
}
