// Unix sockets: their paths lead into the scratch folder like every other, and a server that waits
// for its client waits in virtual time, so that the client, another thread here, can run.
#include "boundary/faults.h"
#include "boundary/redirect.h"
#include "clock/next_call.h"
#include "clock/thread_table.h"
#include "clock/unobserved.h"
#include "clock/virtual_clock.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace vcam {

using AddressCall = int(int, const struct sockaddr *, socklen_t);

static NextCall<int(int, int, int)> nextSocket{"socket"};
static NextCall<int(int, int)> nextListen{"listen"};
static NextCall<AddressCall> nextBind{"bind"};
static NextCall<AddressCall> nextConnect{"connect"};
static NextCall<int(int, struct sockaddr *, socklen_t *)> nextAccept{"accept"};
static NextCall<int(struct pollfd *, nfds_t, int)> nextPoll{"poll"};

static bool isNamed(const struct sockaddr *address, socklen_t size) {
    const size_t prefix = offsetof(struct sockaddr_un, sun_path);
    return address->sa_family == AF_UNIX && size > prefix && size <= sizeof(struct sockaddr_un);
}

static int callWithAddress(const char *call, NextCall<AddressCall> &next, int descriptor,
                           const struct sockaddr *address, socklen_t size) {
    if (!isRegisteredThread() || !isNamed(address, size))
        return next(descriptor, address, size);
    const Unobserved unobserved;
    char path[sizeof(sockaddr_un::sun_path) + 1] = {}; // in the address it need not be terminated
    memcpy(path, reinterpret_cast<const struct sockaddr_un *>(address)->sun_path,
           size - offsetof(struct sockaddr_un, sun_path));
    if (failsNow(call, path))
        return -1;
    const Redirected redirected(path);
    const size_t length = strlen(redirected);
    struct sockaddr_un led = {};
    led.sun_family = AF_UNIX;
    if (length >= sizeof(led.sun_path)) {
        errno = ENAMETOOLONG;
        return -1;
    }
    memcpy(led.sun_path, redirected, length);
    return next(descriptor, reinterpret_cast<const struct sockaddr *>(&led), sizeof(led));
}

static void waitForClient(int descriptor) {
    const Unobserved unobserved;
    struct pollfd server = {descriptor, POLLIN, 0};
    while (nextPoll(&server, 1, 0) == 0)
        sleepUs(kLookAgainUs);
}

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int socket(int domain, int type, int protocol) __THROW {
    return vcam::failsNow("socket", "") ? -1 : vcam::nextSocket(domain, type, protocol);
}

int listen(int descriptor, int backlog) __THROW {
    return vcam::failsNow("listen", "") ? -1 : vcam::nextListen(descriptor, backlog);
}

int bind(int descriptor, const struct sockaddr *address, socklen_t size) __THROW {
    return vcam::callWithAddress("bind", vcam::nextBind, descriptor, address, size);
}

int connect(int descriptor, const struct sockaddr *address, socklen_t size) {
    return vcam::callWithAddress("connect", vcam::nextConnect, descriptor, address, size);
}

int accept(int descriptor, struct sockaddr *__restrict address, socklen_t *__restrict size) {
    if (vcam::failsNow("accept", ""))
        return -1;
    if (vcam::isRegisteredThread())
        vcam::waitForClient(descriptor);
    return vcam::nextAccept(descriptor, address, size);
}
}
#pragma GCC visibility pop
