#include "clock/handover.h"

#include "clock/next_call.h"

namespace vcam {

static NextCall<int(pthread_t, void **)> nextJoin{"pthread_join"};

static void handOverByFutex(Thread &self, Thread &next) {
    giveBaton(next);
    awaitBaton(self);
}

static int createKernelThread(Thread &thread, const pthread_attr_t *attributes,
                              CreateThread *create) {
    return create(&thread.handle, attributes, runKernelThread, &thread);
}

static int joinKernelThread(pthread_t handle, void **result) {
    return nextJoin(handle, result);
}

static const Way kernelWay = {handOverByFutex, giveBaton, createKernelThread, joinKernelThread};
static const Way *chosen = &kernelWay;

void chooseWay(bool areKernelThreadsWanted) {
    const bool areContextsUsed = !areKernelThreadsWanted && &contextWay != nullptr;
    chosen = areContextsUsed ? &contextWay : &kernelWay;
}

const Way &way() {
    return *chosen;
}

} // namespace vcam
