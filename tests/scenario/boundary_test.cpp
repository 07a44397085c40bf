// System calls as the library meets them: placeholder descriptors, redirected paths, the serial
// line and the waits on it.
#include "scenario.h"

#include "boundary/redirect.h"
#include "clock/virtual_clock.h"
#include "devices/serial_port.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

using namespace scenario;

/// The error of a call that gives a negative number when it fails, else 0.
static int errorOf(long result) {
    return result < 0 ? errno : 0;
}

static int closeNew(int descriptor) {
    return descriptor < 0 ? errno : errorOf(close(descriptor));
}

static int askGpio(int descriptor) {
    uint32_t line[] = {5, 5, 0};
    return errorOf(ioctl(descriptor, 16, line));
}

static int makeFile(const char *path) {
    return closeNew(open(path, O_CREAT | O_WRONLY, 0666));
}

static int selectOne(int descriptor, timeval *timeout) {
    fd_set reading;
    FD_ZERO(&reading);
    FD_SET(descriptor, &reading);
    const int ready = select(descriptor + 1, &reading, nullptr, nullptr, timeout);
    return ready < 0 ? -errno : ready + (FD_ISSET(descriptor, &reading) ? 10 : 0);
}

/// Past the boundary: what is really in the file system.
static bool isReallyThere(const std::string &path) {
    return syscall(SYS_faccessat, AT_FDCWD, path.c_str(), F_OK) == 0;
}

TEST(Boundary, placeholder_answers_as_its_device_and_closed_as_closed) {
    run([] {
        EXPECT_EQ(askGpio(open("/dev/spidev1.0", O_RDWR)), ENOTTY);
        const int gpio = open("/dev/hi_gpio", O_RDONLY);
        EXPECT_EQ(askGpio(gpio) + close(gpio), 0);
        EXPECT_EQ(askGpio(gpio), EBADF);
        EXPECT_EQ(errorOf(write(gpio, "", 1)), EBADF);
        EXPECT_EQ(errorOf(close(gpio)), EBADF);
        EXPECT_EQ(selectOne(gpio, nullptr), -EBADF);
        for (int i = 1; i < 32; ++i)
            EXPECT_GE(open("/dev/hi_gpio", O_RDONLY), 0);
        EXPECT_EQ(closeNew(open("/dev/hi_gpio", O_RDONLY)), EMFILE); // a leak is found
        EXPECT_EQ(closeNew(open("/dev/null", O_RDONLY)), 0);
    });
}

TEST(Boundary, paths_of_the_camera_lead_into_the_scratch_folder) {
    int (*const makers[])(const char *) = {
        makeFile,
        [](const char *path) { return makeFile("/tmp/af_old") + rename("/tmp/af_old", path); },
        [](const char *path) { return system((std::string("touch '") + path + "'").c_str()); },
    };
    run([&] {
        const std::string name = "made-" + std::to_string(getpid());
        for (const std::string &path : {"/tmp/af" + name, "/mnt/flash/data/" + name}) {
            for (const auto make : makers) {
                EXPECT_EQ(errorOf(access(path.c_str(), F_OK)), ENOENT); // not believed once made
                EXPECT_EQ(make(path.c_str()), 0);
                EXPECT_TRUE(isReallyThere(vcam::scratchFolder() + path));
                EXPECT_FALSE(isReallyThere(path));
                EXPECT_EQ(access(path.c_str(), F_OK) + chmod(path.c_str(), 0700), 0);
                EXPECT_EQ(remove(path.c_str()), 0);
                EXPECT_FALSE(isReallyThere(vcam::scratchFolder() + path));
            }
        }
        EXPECT_EQ(access("/proc/self", F_OK), 0); // all else is the machine's
    });
}

TEST(Boundary, absent_file_is_believed_absent_for_a_second_whatever_is_opened_but_not_made) {
    run([] {
        const char *path = "/tmp/af_switch";
        EXPECT_EQ(errorOf(access(path, F_OK)), ENOENT);
        const std::string real = vcam::scratchFolder() + path;
        EXPECT_EQ(syscall(SYS_mknodat, AT_FDCWD, real.c_str(), S_IFREG | 0600, 0), 0);
        for (const int us : {999999, 1}) {
            EXPECT_EQ(closeNew(open("/dev/hi_gpio", O_RDONLY)), 0);
            EXPECT_EQ(errorOf(access(path, F_OK)), ENOENT);
            usleep(static_cast<unsigned>(us));
        }
        EXPECT_EQ(access(path, F_OK), 0);
    });
}

TEST(Boundary, server_takes_the_place_of_one_that_has_gone_and_left_its_socket) {
    run([] {
        char path[] = "/tmp/af_socket";
        EXPECT_EQ(closeNew(Af_Create_Server(path)), 0);
        EXPECT_EQ(closeNew(Af_Create_Server(path)), 0);
        EXPECT_TRUE(isReallyThere(vcam::scratchFolder() + path));
    });
}

TEST(Boundary, serial_line_keeps_bytes_in_order_wakes_its_waiters_and_ends_with_a_hang_up) {
    run([] {
        const int serial = vcam::serialDescriptor();
        timeval timeout = {1, 500000};
        EXPECT_EQ(selectOne(serial, &timeout), 0);
        EXPECT_EQ(vcam::nowUs(), 1500000);
        vcam::controllerSends({1, 2, 3});
        vcam::controllerSends({4});
        uint8_t bytes[9];
        EXPECT_EQ(read(serial, bytes, 2), 2);
        EXPECT_EQ(read(serial, bytes, 9), 2);
        EXPECT_EQ(bytes[1], 4);
        std::thread controller([] {
            usleep(30001), vcam::controllerSends({5, 6});
            usleep(999), vcam::hangUpSerial();
        });
        pollfd entry = {serial, POLLIN, 0};
        EXPECT_EQ(poll(&entry, 1, 20), 0);
        EXPECT_EQ(vcam::nowUs(), 1520000);
        timeout = {2, 0};
        EXPECT_EQ(selectOne(serial, &timeout), 11);
        EXPECT_EQ(timeout.tv_sec * 1000000 + timeout.tv_usec, 2000000 - 10001);
        EXPECT_EQ(poll(&entry, 1, -1), 1);
        EXPECT_EQ(vcam::nowUs(), 1530001);
        EXPECT_EQ(read(serial, bytes, 9), 2);
        EXPECT_EQ(read(serial, bytes, 9), 0);
        EXPECT_EQ(vcam::nowUs(), 1531000);
        EXPECT_EQ(selectOne(serial, nullptr), 11);
        controller.join();
    });
}
