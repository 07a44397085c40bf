// Registered threads as stacks within one kernel thread.
//
// What belongs to a kernel thread and would be shared is kept apart here: errno, the exceptions
// that are being handled, the values of POSIX keys and their destructors at the end, pthread_self,
// joining and detaching, pthread_exit with the destructors of the frames that it leaves. Below each
// stack lies a page that nobody may touch.
//
// Not kept apart: thread_local variables, the signal mask, clean-up handlers of C frames. A
// recursive or error-checking mutex takes all contexts for one owner. pthread_cancel ends the
// process; other calls on a thread's handle (pthread_kill, pthread_setname_np, ...) and joining by
// a thread that is not registered must not be made, and a signal does not end pause(): whoever
// needs these asks for kernel threads.
#pragma once

#include <pthread.h>

namespace vcam {

/// Whether the caller runs on a stack of ours, which the first thread does not.
bool isOnContext();

// ---- For a caller on a context

pthread_t selfContext();

/// As pthread_exit.
[[noreturn]] void exitContext(void *result);

int setContextValue(pthread_key_t key, const void *value);
void *contextValue(pthread_key_t key);

// ---- For everybody

bool isContext(pthread_t handle);

/// As pthread_detach, of a context.
int detachContext(pthread_t handle);

void noteKey(pthread_key_t key, void (*destructor)(void *));
void forgetKey(pthread_key_t key);

} // namespace vcam
