#include "platform/device_file.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

static const int kFirstFree = 3;

static int moveAboveStandard(int low) {
    const int fd = fcntl(low, F_DUPFD, kFirstFree);
    const int error = errno;
    close(low);
    errno = error;
    return fd;
}

int openAboveStandard(const char *path, int flags, mode_t mode) {
    const int fd = open(path, flags, mode);
    return fd >= 0 && fd < kFirstFree ? moveAboveStandard(fd) : fd;
}
