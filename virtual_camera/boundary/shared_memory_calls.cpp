// System V shared memory is libc's affair; it can only be made to fail.
#include "boundary/faults.h"
#include "clock/next_call.h"

#include <sys/shm.h>

namespace vcam {

static NextCall<int(key_t, size_t, int)> nextShmget{"shmget"};
static NextCall<void *(int, const void *, int)> nextShmat{"shmat"};

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int shmget(key_t key, size_t size, int flags) __THROW {
    return vcam::failsNow("shmget", "") ? -1 : vcam::nextShmget(key, size, flags);
}

void *shmat(int id, const void *address, int flags) __THROW {
    return vcam::failsNow("shmat", "") ? reinterpret_cast<void *>(-1)
                                       : vcam::nextShmat(id, address, flags);
}
}
#pragma GCC visibility pop
