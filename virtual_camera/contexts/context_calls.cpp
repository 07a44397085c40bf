// What POSIX says of the calling thread, for threads that are contexts.
#include "clock/last_words.h"
#include "clock/next_call.h"
#include "contexts/contexts.h"

#include <pthread.h>

namespace vcam {

static NextCall<pthread_t()> nextSelf{"pthread_self"};
static NextCall<int(pthread_t)> nextDetach{"pthread_detach"};
static NextCall<int(pthread_t)> nextCancel{"pthread_cancel"};
static NextCall<void(void *)> nextExit{"pthread_exit"};
static NextCall<int(pthread_key_t *, void (*)(void *))> nextKeyCreate{"pthread_key_create"};
static NextCall<int(pthread_key_t)> nextKeyDelete{"pthread_key_delete"};
static NextCall<void *(pthread_key_t)> nextGetspecific{"pthread_getspecific"};
static NextCall<int(pthread_key_t, const void *)> nextSetspecific{"pthread_setspecific"};

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

pthread_t pthread_self() __THROW {
    return vcam::isOnContext() ? vcam::selfContext() : vcam::nextSelf();
}

int pthread_detach(pthread_t handle) __THROW {
    return vcam::isContext(handle) ? vcam::detachContext(handle) : vcam::nextDetach(handle);
}

int pthread_cancel(pthread_t handle) {
    if (vcam::isContext(handle))
        vcam::endProcess("pthread_cancel of a context: ask for kernel threads");
    return vcam::nextCancel(handle);
}

void pthread_exit(void *result) {
    if (vcam::isOnContext())
        vcam::exitContext(result);
    vcam::nextExit(result);
    __builtin_unreachable();
}

int pthread_key_create(pthread_key_t *key, void (*destructor)(void *)) __THROW {
    const int result = vcam::nextKeyCreate(key, destructor);
    if (result == 0)
        vcam::noteKey(*key, destructor);
    return result;
}

int pthread_key_delete(pthread_key_t key) __THROW {
    vcam::forgetKey(key);
    return vcam::nextKeyDelete(key);
}

void *pthread_getspecific(pthread_key_t key) __THROW {
    return vcam::isOnContext() ? vcam::contextValue(key) : vcam::nextGetspecific(key);
}

int pthread_setspecific(pthread_key_t key, const void *value) __THROW {
    return vcam::isOnContext() ? vcam::setContextValue(key, value)
                               : vcam::nextSetspecific(key, value);
}
}
#pragma GCC visibility pop
