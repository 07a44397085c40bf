// A local stream socket for the host's own tools. Nothing inside the library uses it.
#include "autofocus/utilities.h"

#include <errno.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

static const mode_t kSocketMode = 0666;
static const int kBacklog = 5;

static int giveUp(int fd, const char *path) {
    unlink(path);
    close(fd);
    return -1;
}

int Af_Create_Server(char *ser_path) {
    struct sockaddr_un address;
    memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    if (ser_path == nullptr || strlen(ser_path) >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        perror("bind");
        return -1;
    }
    strcpy(address.sun_path, ser_path);
    const socklen_t length =
        static_cast<socklen_t>(offsetof(struct sockaddr_un, sun_path) + strlen(ser_path));

    const int fd = socket(AF_UNIX, SOCK_STREAM, 0);
    if (fd < 0) {
        perror("socket");
        return -1;
    }
    unlink(ser_path);
    if (bind(fd, reinterpret_cast<struct sockaddr *>(&address), length) < 0) {
        perror("bind");
        close(fd);
        return -1;
    }
    if (chmod(ser_path, kSocketMode) < 0 || listen(fd, kBacklog) < 0)
        return giveUp(fd, ser_path);
    return fd;
}

int AF_Accept_Connect(int fd) {
    struct sockaddr_un address;
    memset(&address, 0, sizeof address);
    socklen_t length = sizeof address;
    const int connection = accept(fd, reinterpret_cast<struct sockaddr *>(&address), &length);
    if (connection < 0) {
        printf("__%s server accept error !\n", __func__);
        return -1;
    }
    return connection;
}
