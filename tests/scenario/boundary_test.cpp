// System calls as the library meets them: placeholder descriptors, redirected paths, injected
// faults, the serial line and the waits on it.
#include "scenario.h"

#include "boundary/faults.h"
#include "boundary/redirect.h"
#include "clock/virtual_clock.h"
#include "devices/serial_port.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

using namespace scenario;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr unsigned long kGetDirection = 16; // of the GPIO device

struct LineRequest {
    uint32_t group;
    uint32_t bit;
    uint32_t value;
};

/// The error of a call that gives a negative number when it fails, else 0.
int errorOf(long result) {
    return result < 0 ? errno : 0;
}

int closeNew(int descriptor) {
    return descriptor < 0 ? errno : errorOf(close(descriptor));
}

int askGpio(int descriptor) {
    LineRequest line = {5, 5, 0};
    return errorOf(ioctl(descriptor, kGetDirection, &line));
}

int makeFile(const char *path) {
    return closeNew(open(path, O_CREAT | O_WRONLY, 0666));
}

int writeFile(const char *path) {
    FILE *file = fopen(path, "w");
    return file == nullptr ? errno : fclose(file);
}

int pollOne(int descriptor, short events, int timeoutMs) {
    pollfd entry = {descriptor, events, 0};
    const int ready = poll(&entry, 1, timeoutMs);
    return ready < 0 ? -errno : entry.revents;
}

int selectOne(int descriptor, timeval *timeout) {
    fd_set reading;
    FD_ZERO(&reading);
    FD_SET(descriptor, &reading);
    const int ready = select(descriptor + 1, &reading, nullptr, nullptr, timeout);
    return ready < 0 ? -errno : ready + (FD_ISSET(descriptor, &reading) ? 10 : 0);
}

Bytes readBytes(size_t size) {
    Bytes bytes(size);
    const ssize_t count = read(vcam::serialDescriptor(), bytes.data(), size);
    bytes.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
    return bytes;
}

/// A server, a client and what accept makes of them: the error of the first call that fails.
int talkOverSocket() {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, "/tmp/af_socket");
    const auto *general = reinterpret_cast<const sockaddr *>(&address);
    unlink(address.sun_path);
    const int server = socket(AF_UNIX, SOCK_STREAM, 0);
    const int client = server < 0 ? -1 : socket(AF_UNIX, SOCK_STREAM, 0);
    const bool isDone = client >= 0 && bind(server, general, sizeof(address)) == 0 &&
                        listen(server, 1) == 0 && connect(client, general, sizeof(address)) == 0 &&
                        closeNew(accept(server, nullptr, nullptr)) == 0;
    const int error = isDone ? 0 : errno;
    close(client);
    close(server);
    return error;
}

int runThread() {
    pthread_t thread;
    const auto nothing = [](void *) -> void * { return nullptr; };
    const int error = pthread_create(&thread, nullptr, nothing, nullptr);
    return error != 0 ? error : pthread_join(thread, nullptr);
}

/// Past the boundary: what is really in the file system.
bool isReallyThere(const std::string &path) {
    return syscall(SYS_faccessat, AT_FDCWD, path.c_str(), F_OK) == 0;
}

} // namespace

TEST(Boundary, placeholder_answers_as_its_device_and_closed_as_closed) {
    run([] {
        uint8_t byte = 0;
        const int spi = open("/dev/spidev1.0", O_RDWR);
        const int gpio = openat(AT_FDCWD, "/dev/hi_gpio", O_RDONLY);
        EXPECT_NE(spi, gpio);
        EXPECT_EQ(askGpio(gpio), 0);
        EXPECT_EQ(askGpio(spi), ENOTTY);
        EXPECT_EQ(askGpio(vcam::serialDescriptor()), ENOTTY);
        EXPECT_EQ(errorOf(ioctl(gpio, kGetDirection, nullptr)), EFAULT);
        EXPECT_EQ(errorOf(read(spi, &byte, 1)), EINVAL);
        EXPECT_EQ(errorOf(write(gpio, &byte, 1)), EINVAL);
        EXPECT_EQ(close(gpio), 0);
        timeval timeout = {1, 0};
        EXPECT_EQ(askGpio(gpio), EBADF);
        EXPECT_EQ(errorOf(read(gpio, &byte, 1)), EBADF);
        EXPECT_EQ(errorOf(write(gpio, &byte, 1)), EBADF);
        EXPECT_EQ(errorOf(close(gpio)), EBADF);
        EXPECT_EQ(selectOne(gpio, &timeout), -EBADF);
        EXPECT_EQ(pollOne(gpio, POLLIN, 1000), POLLNVAL);
        EXPECT_EQ(vcam::nowUs(), 0);
        EXPECT_EQ(open("/dev/hi_gpio", O_RDONLY), gpio);
        for (int i = 2; i < 32; i++)
            EXPECT_GE(open("/dev/hi_gpio", O_RDONLY), 0);
        EXPECT_EQ(closeNew(open("/dev/hi_gpio", O_RDONLY)), EMFILE); // a leak is found
        EXPECT_EQ(closeNew(open("/dev/null", O_RDONLY)), 0);
    });
}

TEST(Boundary, paths_of_the_camera_lead_into_the_scratch_folder) {
    using PathCall = std::function<int(const char *)>;
    const PathCall makers[] = {
        makeFile,
        [](const char *path) { return closeNew(creat(path, 0666)); },
        [](const char *path) { return closeNew(openat(AT_FDCWD, path, O_CREAT, 0666)); },
        writeFile,
        [](const char *path) { return mkdir(path, 0777); },
        [](const char *path) { return makeFile("/tmp/af_old") + rename("/tmp/af_old", path); },
        [](const char *path) { return system((std::string("touch '") + path + "'").c_str()); },
    };
    struct stat status;
    const PathCall lookers[] = {
        [](const char *path) { return access(path, F_OK); },
        [](const char *path) { return chmod(path, 0700); },
        [&](const char *path) { return stat(path, &status); },
        [&](const char *path) { return lstat(path, &status); },
    };
    run([&] {
        for (const std::string folder : {"/tmp/af", "/mnt/flash/", "/mnt/flash/data/"}) {
            for (const PathCall &make : makers) {
                SCOPED_TRACE(folder + " maker " + std::to_string(&make - makers));
                const std::string path = folder + "made-" + std::to_string(getpid());
                EXPECT_EQ(make(path.c_str()), 0);
                EXPECT_TRUE(isReallyThere(vcam::scratchFolder() + path));
                EXPECT_FALSE(isReallyThere(path));
                for (const PathCall &look : lookers)
                    EXPECT_EQ(look(path.c_str()), 0) << "looker " << &look - lookers;
                EXPECT_EQ(remove(path.c_str()), 0);
                EXPECT_FALSE(isReallyThere(vcam::scratchFolder() + path));
            }
        }
        EXPECT_EQ(makeFile("/tmp/af_file") + unlink("/tmp/af_file"), 0);
        EXPECT_EQ(mkdir("/mnt/flash/folder", 0777) + rmdir("/mnt/flash/folder"), 0);
        EXPECT_EQ(closedir(opendir("/mnt/flash/data")), 0);
        EXPECT_EQ(access("/mnt/flashy", F_OK), -1);
        EXPECT_EQ(access("/proc/self", F_OK), 0); // all else is the machine's
        EXPECT_EQ(system("himm 0x200f0158 0x1"), 0);
        EXPECT_EQ(events("shell").back().get("command"), "himm 0x200f0158 0x1");
        EXPECT_EQ(talkOverSocket(), 0);
        EXPECT_TRUE(isReallyThere(vcam::scratchFolder() + "/tmp/af_socket"));
    });
}

TEST(Boundary, every_call_fails_on_demand_once_and_only_on_its_subject) {
    struct Row {
        const char *call;
        const char *subject;
        std::function<int()> make; ///< Its error, 0 when it goes well.
    };
    const char *file = "/mnt/flash/file";
    timeval now = {0, 0};
    uint8_t byte = 0;
    const Row rows[] = {
        {"open", "/dev/hi_gpio", [] { return closeNew(open("/dev/hi_gpio", O_RDONLY)); }},
        {"open", file, [&] { return makeFile(file); }},
        {"close", "/dev/hi_gpio", [] { return closeNew(open("/dev/hi_gpio", O_RDONLY)); }},
        {"ioctl", "/dev/hi_gpio", [] { return askGpio(open("/dev/hi_gpio", O_RDONLY)); }},
        {"read", "serial", [&] { return errorOf(read(vcam::serialDescriptor(), &byte, 1)); }},
        {"write", "serial", [] { return errorOf(write(vcam::serialDescriptor(), "", 1)); }},
        {"select", "serial", [&] { return errorOf(selectOne(vcam::serialDescriptor(), &now)); }},
        {"poll", "", [] { return errorOf(pollOne(vcam::serialDescriptor(), POLLIN, 0)); }},
        {"fopen", file, [&] { return writeFile(file); }},
        {"access", file, [&] { return errorOf(access(file, F_OK)); }},
        {"chmod", file, [&] { return errorOf(chmod(file, 0777)); }},
        {"rename", file, [&] { return errorOf(rename(file, file)); }},
        {"unlink", file, [&] { return makeFile(file), errorOf(unlink(file)); }},
        {"remove", file, [&] { return makeFile(file), errorOf(remove(file)); }},
        {"socket", "", talkOverSocket},
        {"bind", "/tmp/af_socket", talkOverSocket},
        {"listen", "", talkOverSocket},
        {"connect", "/tmp/af_socket", talkOverSocket},
        {"accept", "", talkOverSocket},
        {"system", "true", [] { return errorOf(system("true")); }},
        {"pthread_create", "", runThread},
    };
    run([&] {
        for (const Row &row : rows) {
            SCOPED_TRACE(std::string(row.call) + " " + row.subject);
            vcam::controllerSends({1, 2, 3});
            vcam::failCalls(row.call, "/elsewhere", vcam::kAlways, EIO);
            vcam::failCalls(row.call, row.subject, 1, ENOSPC);
            EXPECT_EQ(row.make(), ENOSPC);
            EXPECT_EQ(row.make(), 0);
            vcam::clearFaults();
        }
        vcam::failCalls("system", "", vcam::kAlways, ENOMEM, 2);
        for (const int error : {0, 0, ENOMEM, ENOMEM, ENOMEM})
            EXPECT_EQ(errorOf(system("true")), error);
        vcam::clearFaults();
        EXPECT_EQ(system("true"), 0);
    });
}

TEST(Boundary, wait_for_the_serial_line_ends_with_its_first_byte_or_the_timeout) {
    struct Row {
        const char *name;
        int64_t bytesAtUs; ///< -1: none come.
        timeval timeout;
        int ready;
        int64_t costUs;
        int64_t leftUs;
    };
    const Row rows[] = {
        {"silence", -1, {1, 500000}, 0, 1500000, 0},  {"a glance", -1, {0, 0}, 0, 0, 0},
        {"bytes", 30001, {2, 0}, 11, 30001, 1969999}, {"bytes at once", 0, {1, 0}, 11, 0, 1000000},
        {"negative", -1, {0, -1}, -EINVAL, 0, -1},
    };
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        run([&] {
            std::thread controller([&] {
                vcam::sleepUntilUs(row.bytesAtUs);
                if (row.bytesAtUs >= 0)
                    vcam::controllerSends({0x81, 0xFF});
            });
            timeval timeout = row.timeout;
            EXPECT_EQ(selectOne(vcam::serialDescriptor(), &timeout), row.ready);
            EXPECT_EQ(vcam::nowUs(), row.costUs);
            EXPECT_EQ(timeout.tv_sec * 1000000 + timeout.tv_usec, row.leftUs);
            controller.join();
        });
    }
    run([] {
        std::thread controller([] { usleep(30001), vcam::controllerSends({0x81}); });
        EXPECT_EQ(pollOne(vcam::serialDescriptor(), POLLIN, 20), 0);
        EXPECT_EQ(vcam::nowUs(), 20000);
        EXPECT_EQ(pollOne(vcam::serialDescriptor(), POLLIN, -1), POLLIN);
        EXPECT_EQ(vcam::nowUs(), 30001);
        EXPECT_EQ(pollOne(vcam::serialDescriptor(), POLLOUT, -1), POLLOUT);
        controller.join();
    });
}

TEST(Boundary, wait_for_a_descriptor_of_the_process_looks_every_ten_milliseconds) {
    run([] {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        std::thread writer([&] { usleep(25000), close(ends[1]); });
        timeval timeout = {1, 0};
        EXPECT_EQ(selectOne(ends[0], &timeout), 11);
        EXPECT_EQ(vcam::nowUs(), 30000);
        EXPECT_EQ(pollOne(ends[0], POLLIN, -1), POLLHUP);
        writer.join();
    });
}

TEST(Boundary, serial_line_keeps_bytes_in_order_and_ends_with_a_hang_up) {
    run([] {
        vcam::controllerSends({1, 2, 3});
        vcam::controllerSends({4});
        EXPECT_EQ(readBytes(2), (Bytes{1, 2}));
        EXPECT_EQ(readBytes(9), (Bytes{3, 4}));
        std::thread controller([] {
            usleep(700);
            vcam::controllerSends({5, 6});
            usleep(300);
            vcam::hangUpSerial();
        });
        EXPECT_EQ(readBytes(1), (Bytes{5}));
        EXPECT_EQ(vcam::nowUs(), 700);
        EXPECT_EQ(readBytes(9), (Bytes{6}));
        EXPECT_EQ(readBytes(9), Bytes{});
        EXPECT_EQ(vcam::nowUs(), 1000);
        EXPECT_EQ(readBytes(9), Bytes{});
        EXPECT_EQ(selectOne(vcam::serialDescriptor(), nullptr), 11);
        EXPECT_EQ(write(vcam::serialDescriptor(), "\x90\x41", 2), 2);
        EXPECT_EQ(write(vcam::serialDescriptor(), "\xff", 1), 1);
        EXPECT_EQ(vcam::cameraSent(), (Bytes{0x90, 0x41, 0xFF}));
        EXPECT_EQ(vcam::cameraSent(), Bytes{});
        controller.join();
    });
}
