// The serial thread on a real terminal line, which the simulated one is not: it has timers, and may
// be full.
#include "fixtures.h"

#include "af_lens/model/mailbox.h"
#include "autofocus_control.h"
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

// ---- With replies

static int openController() {
    const int controller = posix_openpt(O_RDWR | O_NOCTTY);
    grantpt(controller);
    unlockpt(controller);
    return controller;
}

static void serveWithReplies(int port) {
    AF_Manager_Set_Setting_API(AF_SETTING_SERIAL_REPLIES, 1);
    createRecord();
    InitUsartFd(port);
    pthread_t thread;
    pthread_create(&thread, nullptr, SonyViscaProtocol, nullptr);
}

static bool isNumbered(int controller) {
    const uint8_t setAddress[] = {0x88, 0x30, 0x01, 0xFF};
    char reply[64];
    struct pollfd entry = {controller, POLLIN, 0};
    return write(controller, setAddress, sizeof setAddress) == sizeof setAddress &&
           poll(&entry, 1, 10 * kPauseMs) == 1 && read(controller, reply, sizeof reply) == 4;
}

TEST(RealPort, with_replies_answers_whatever_the_line_is_set_to) {
    if (access("/dev/pts/ptmx", F_OK) != 0)
        GTEST_SKIP() << "no terminal lines here";
    for (const int bytes : {0, 1, 5}) {
        for (const int flags : {0, O_NONBLOCK}) {
            const pid_t host = fork();
            if (host == 0) {
                const int controller = openController();
                const int port = openSerialPort(ptsname(controller));
                struct termios settings;
                tcgetattr(port, &settings);
                settings.c_cc[VMIN] = static_cast<cc_t>(bytes);
                settings.c_cc[VTIME] = 0;
                tcsetattr(port, TCSANOW, &settings);
                fcntl(port, F_SETFL, flags);
                serveWithReplies(port);
                _exit(isNumbered(controller) ? 0 : 1);
            }
            int end = -1;
            waitpid(host, &end, 0);
            EXPECT_EQ(end, 0) << "VMIN " << bytes << " flags " << flags;
        }
    }
}

/// False when the camera has stopped to read.
static bool writeAll(int controller, const vcam::Bytes &frame) {
    for (int i = 0; i < 5000; ++i) {
        if (write(controller, frame.data(), frame.size()) == static_cast<ssize_t>(frame.size()))
            return true;
        usleep(1000);
    }
    return false;
}

/// Read what is there; whether no message goes over into the next.
static bool areMessagesApart(int controller) {
    static uint8_t bytes[1 << 20];
    ssize_t count = 0;
    struct pollfd entry = {controller, POLLIN, 0};
    while (poll(&entry, 1, kPauseMs) == 1)
        count += read(controller, bytes + count, sizeof bytes - static_cast<size_t>(count));
    bool isApart = count > 0;
    for (ssize_t i = 1; i < count; ++i)
        isApart = isApart && (bytes[i] == 0x90) == (bytes[i - 1] == 0xFF);
    return isApart;
}

TEST(RealPort, with_replies_obeys_a_controller_that_never_reads) {
    if (access("/dev/pts/ptmx", F_OK) != 0)
        GTEST_SKIP() << "no terminal lines here";
    const pid_t host = fork();
    if (host == 0) {
        const int controller = openController();
        fcntl(controller, F_SETFL, O_NONBLOCK);
        serveWithReplies(openSerialPort(ptsname(controller)));
        bool isRead = true;
        for (int i = 0; i < 30000 && isRead; ++i) // more than the line holds of their answers
            isRead = writeAll(controller, vcam::kAskZoom);
        isRead = isRead && writeAll(controller, vcam::kViscaTele);
        for (int i = 0; i < 5000 && Lens_Get_Command() != CMD_TELE; ++i)
            usleep(1000);
        const bool isObeyed = isRead && Lens_Get_Command() == CMD_TELE;
        int missing = 0; // of a second look, for the end of what was cut is sent with the next one
        for (int i = 0; i < 2; ++i)
            missing += writeAll(controller, vcam::kAskZoom) && areMessagesApart(controller) ? 0 : 1;
        _exit((isObeyed ? 0 : 1) + 2 * missing);
    }
    int end = -1;
    waitpid(host, &end, 0);
    EXPECT_EQ(end, 0);
}
