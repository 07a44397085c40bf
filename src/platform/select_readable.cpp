#include "platform/select_readable.h"

#include <errno.h>
#include <sys/select.h>

static const long kUsPerSecond = 1000000;

int selectReadable(int fd, long waitUs) {
    if (fd >= FD_SETSIZE) {
        errno = EBADF;
        return -1;
    }
    struct timeval timeout = {waitUs / kUsPerSecond, waitUs % kUsPerSecond};
    fd_set readable;
    FD_ZERO(&readable);
    FD_SET(fd, &readable);
    const int ready = select(fd + 1, &readable, nullptr, nullptr, &timeout);
    return ready > 0 && !FD_ISSET(fd, &readable) ? 0 : ready;
}
