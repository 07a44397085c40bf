/*
 * The smallest host: it loads the library as it ships, on whichever C library and processor both
 * were built for, with stubs in the place of the hardware. Real threads and real time, no virtual
 * camera: a build for another system that starts, drives the motors, asks for frames and answers
 * on the serial port here is tied to nothing that the other systems have.
 */
#include <autofocus.h>

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "platform/isp_interface.h"

static const int kPatienceMs = 30000; /* an emulated processor on a busy machine */

static int transfers; /* of whatever kind, to the motor driver or a GPIO line */
static int framesAsked;

/* ---- In the place of the hardware: devices that take everything and report zeros ---- */

int open(const char *path, int flags, ...) {
    static const char kDevices[] = "/dev/";
    (void)flags;
    if (strncmp(path, kDevices, sizeof kDevices - 1) == 0)
        return dup(STDERR_FILENO);
    errno = EACCES; /* the library's log and marker stay off this machine */
    return -1;
}

/* Libraries differ in the type of a request; it travels in the same register. */
#ifdef __GLIBC__
int ioctl(int descriptor, unsigned long request, ...) {
#else
int ioctl(int descriptor, int request, ...) {
#endif
    (void)descriptor;
    (void)request;
    __atomic_add_fetch(&transfers, 1, __ATOMIC_RELAXED);
    return 1;
}

int system(const char *command) {
    (void)command;
    return 0;
}

HI_S32 HI_MPI_ISP_GetVDTimeOut(ISP_DEV device, ISP_VD_INFO_S *info, HI_U32 ms) {
    (void)device;
    (void)ms;
    usleep(1000);
    info->u32FrameCnt = (HI_U32)__atomic_add_fetch(&framesAsked, 1, __ATOMIC_RELAXED);
    return 0;
}

#pragma GCC diagnostic ignored "-Wunused-parameter"
#define SUCCEEDS(call, record)                                                                     \
    HI_S32 call(ISP_DEV device, record) {                                                          \
        return 0;                                                                                  \
    }
SUCCEEDS(HI_MPI_ISP_GetStatisticsConfig, ISP_STATISTICS_CFG_S *config)
SUCCEEDS(HI_MPI_ISP_SetStatisticsConfig, const ISP_STATISTICS_CFG_S *config)
SUCCEEDS(HI_MPI_ISP_GetPubAttr, ISP_PUB_ATTR_S *attributes)
SUCCEEDS(HI_MPI_ISP_GetStatistics, ISP_STATISTICS_S *statistics)
SUCCEEDS(HI_MPI_ISP_QueryExposureInfo, ISP_EXP_INFO_S *exposure)

/* ---- A controller at the other end of the serial port ---- */

static int isAnswered(int port, const unsigned char *inquiry, size_t size,
                      const unsigned char *expected, size_t length) {
    unsigned char reply[16];
    size_t count = 0;
    struct pollfd entry = {port, POLLIN, 0};
    if (write(port, inquiry, size) != (ssize_t)size)
        return 0;
    while (count < length && poll(&entry, 1, kPatienceMs) == 1) {
        const ssize_t more = read(port, reply + count, sizeof reply - count);
        if (more <= 0)
            return 0;
        count += (size_t)more;
    }
    return count == length && memcmp(reply, expected, length) == 0;
}

static int becomesPositive(const int *count) {
    for (int ms = 0; ms < kPatienceMs && __atomic_load_n(count, __ATOMIC_RELAXED) == 0; ++ms)
        usleep(1000);
    return __atomic_load_n(count, __ATOMIC_RELAXED) > 0;
}

static int check(int isRight, const char *what) {
    fprintf(stderr, "bare host: %s: %s\n", what, isRight ? "yes" : "NO");
    return isRight ? 0 : 1;
}

int main(void) {
    static const unsigned char kFocusMode[] = {0x81, 0x09, 0x04, 0x38, 0xFF};
    static const unsigned char kAutomatic[] = {0x90, 0x50, 0x02, 0xFF};
    int line[2];
    int failures = 0;
    char text[64] = "";
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, line) != 0)
        return 1;
    failures += check(AF_Manager_Init_UsartFd_API(line[0]) == 0, "takes the serial port");
    failures += check(AF_Manager_Start_API() == 0, "starts");
    failures += check(AF_Manager_Start_API() == -1, "starts once");
    failures +=
        check(isAnswered(line[1], kFocusMode, sizeof kFocusMode, kAutomatic, sizeof kAutomatic),
              "answers the controller");
    failures += check(becomesPositive(&transfers), "drives the motors");
    failures += check(becomesPositive(&framesAsked), "asks for frames");
    failures += check(AF_Manager_Get_OSDData_API(text) == 0, "shows the zoom ratio");
    fflush(NULL);
    _exit(failures == 0 ? 0 : 1);
}
