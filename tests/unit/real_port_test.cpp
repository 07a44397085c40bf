// The example's setting of a serial port, on the serial thread and a real terminal line: the
// simulated line knows no timer.
#include "fixtures.h"

#include "autofocus_service.h"
#include "host/controller_frames.h"

#include <cstdlib>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#define main exampleMain
#include "../../examples/host.c"
#undef main

static constexpr int kTries = 20; // one is enough: a busy machine stretches pauses
static constexpr int kPauseMs = 300;

static bool isAnswered(int controller, useconds_t pauseUs) {
    for (int i = 0; i < kTries; ++i) {
        for (const uint8_t byte : vcam::kAskFocusMode) {
            EXPECT_EQ(write(controller, &byte, 1), 1);
            usleep(pauseUs);
        }
        char reply[64];
        struct pollfd entry = {controller, POLLIN, 0};
        if (poll(&entry, 1, kPauseMs) == 1)
            return read(controller, reply, sizeof reply) == 4;
    }
    return false;
}

TEST(RealPort, answers_after_a_stray_byte_and_to_a_slow_sender) {
    if (access("/dev/pts/ptmx", F_OK) != 0)
        GTEST_SKIP() << "no terminal lines here";
    const pid_t host = fork();
    if (host == 0) {
        const int controller = posix_openpt(O_RDWR | O_NOCTTY);
        grantpt(controller);
        unlockpt(controller);
        InitUsartFd(openSerialPort(ptsname(controller)));
        pthread_t thread;
        pthread_create(&thread, nullptr, SonyViscaProtocol, nullptr);
        const bool isSlowHeard = isAnswered(controller, 30000);
        const bool isStrayForgotten = write(controller, "", 1) == 1 && isAnswered(controller, 0);
        _exit((isSlowHeard ? 0 : 1) + (isStrayForgotten ? 0 : 2));
    }
    int end = -1;
    waitpid(host, &end, 0);
    EXPECT_EQ(end, 0) << "256: a slow sender, 512: a stray byte";
}
