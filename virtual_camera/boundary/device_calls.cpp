// ioctl, read, write, close and select, answered for the simulated devices' descriptors on the
// calling registered thread; any other descriptor's calls go to libc.
#include "boundary/faults.h"
#include "boundary/placeholders.h"
#include "clock/next_call.h"
#include "clock/scheduler.h"
#include "clock/thread_table.h"
#include "clock/unobserved.h"
#include "devices/gpio.h"
#include "devices/serial_port.h"
#include "devices/spidev.h"

#include <cerrno>
#include <cstdarg>
#include <sys/ioctl.h>
#include <sys/select.h>
#include <unistd.h>

namespace vcam {

static NextCall<int(int, unsigned long, ...)> nextIoctl{"ioctl"};
static NextCall<ssize_t(int, void *, size_t)> nextRead{"read"};
static NextCall<ssize_t(int, const void *, size_t)> nextWrite{"write"};
static NextCall<int(int)> nextClose{"close"};
static NextCall<int(int, fd_set *, fd_set *, fd_set *, struct timeval *)> nextSelect{"select"};

constexpr int64_t kUsPerSecond = 1000000;

static int fail(int error) {
    errno = error;
    return -1;
}

/// None also on threads that are not registered: there every call goes to libc.
static Device findAnswering(int descriptor) {
    return isRegisteredThread() ? findDevice(descriptor) : Device::None;
}

static int answerIoctl(Device device, unsigned long request, void *argument) {
    const Unobserved unobserved;
    chargeCall();
    if (device == Device::Closed)
        return fail(EBADF);
    if (failsNow("ioctl", nameDevice(device)))
        return -1;
    if (device == Device::Spi)
        return spidevIoctl(request, argument);
    if (device == Device::Gpio)
        return gpioIoctl(request, argument);
    return fail(ENOTTY);
}

static ssize_t answerRead(Device device, void *bytes, size_t size) {
    const Unobserved unobserved;
    if (device == Device::Closed)
        return fail(EBADF);
    if (failsNow("read", nameDevice(device)))
        return -1;
    if (device != Device::Serial)
        return fail(EINVAL);
    return static_cast<ssize_t>(readSerial(static_cast<uint8_t *>(bytes), size));
}

static ssize_t answerWrite(Device device, const void *bytes, size_t size) {
    const Unobserved unobserved;
    if (device == Device::Closed)
        return fail(EBADF);
    if (failsNow("write", nameDevice(device)))
        return -1;
    if (device != Device::Serial)
        return fail(EINVAL);
    writeSerial(static_cast<const uint8_t *>(bytes), size);
    return static_cast<ssize_t>(size);
}

static int answerClose(Device device, int descriptor) {
    const Unobserved unobserved;
    if (device == Device::Closed)
        return fail(EBADF);
    closePlaceholder(descriptor);
    return failsNow("close", nameDevice(device)) ? -1 : 0; // closed all the same, as on Linux
}

// ---- select

struct Watched {
    int serial = -1; ///< The serial descriptor when it is asked about, for reading.
    bool hasClosed = false;
    bool hasPlaceholder = false;
};

static Watched findWatched(int count, const fd_set *reading, const fd_set *writing) {
    Watched watched;
    for (int descriptor = 0; descriptor < count; descriptor++) {
        const bool isRead = reading != nullptr && FD_ISSET(descriptor, reading);
        const bool isWritten = writing != nullptr && FD_ISSET(descriptor, writing);
        if (!isRead && !isWritten)
            continue;
        const Device device = findDevice(descriptor);
        watched.hasPlaceholder = watched.hasPlaceholder || device != Device::None;
        watched.hasClosed = watched.hasClosed || device == Device::Closed;
        if (device == Device::Serial && isRead)
            watched.serial = descriptor;
    }
    return watched;
}

static int64_t computeDeadline(const struct timeval *timeout) {
    if (timeout == nullptr)
        return kForeverUs;
    return nowUs() + timeout->tv_sec * kUsPerSecond + timeout->tv_usec;
}

static void clearSet(fd_set *set) {
    if (set != nullptr)
        FD_ZERO(set);
}

/// The serial line for reading, or nothing but a time-out. A set that mixes placeholders with the
/// process's own descriptors is answered for the placeholders alone.
static int answerSelect(const Watched &watched, fd_set *reading, fd_set *writing, fd_set *excepted,
                        struct timeval *timeout) {
    const Unobserved unobserved;
    if (watched.hasClosed)
        return fail(EBADF);
    if (failsNow("select", watched.serial >= 0 ? "serial" : ""))
        return -1;
    const int64_t deadlineUs = computeDeadline(timeout);
    bool isReady = false;
    if (watched.serial >= 0)
        isReady = waitSerialReadable(deadlineUs);
    else
        sleepUntilUs(deadlineUs);
    clearSet(reading);
    clearSet(writing);
    clearSet(excepted);
    if (isReady)
        FD_SET(watched.serial, reading);
    if (timeout != nullptr) { // Linux leaves the time that was not slept
        const int64_t leftUs = deadlineUs > nowUs() ? deadlineUs - nowUs() : 0;
        timeout->tv_sec = leftUs / kUsPerSecond;
        timeout->tv_usec = leftUs % kUsPerSecond;
    }
    return isReady ? 1 : 0;
}

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int ioctl(int descriptor, unsigned long request, ...) __THROW {
    va_list arguments;
    va_start(arguments, request);
    void *argument = va_arg(arguments, void *);
    va_end(arguments);
    const vcam::Device device = vcam::findAnswering(descriptor);
    return device == vcam::Device::None ? vcam::nextIoctl(descriptor, request, argument)
                                        : vcam::answerIoctl(device, request, argument);
}

ssize_t read(int descriptor, void *bytes, size_t size) {
    const vcam::Device device = vcam::findAnswering(descriptor);
    return device == vcam::Device::None ? vcam::nextRead(descriptor, bytes, size)
                                        : vcam::answerRead(device, bytes, size);
}

ssize_t __read_chk(int descriptor, void *bytes, size_t size, size_t room) {
    if (size > room)
        __builtin_trap();
    return read(descriptor, bytes, size);
}

ssize_t write(int descriptor, const void *bytes, size_t size) {
    const vcam::Device device = vcam::findAnswering(descriptor);
    return device == vcam::Device::None ? vcam::nextWrite(descriptor, bytes, size)
                                        : vcam::answerWrite(device, bytes, size);
}

int close(int descriptor) {
    const vcam::Device device = vcam::findAnswering(descriptor);
    return device == vcam::Device::None ? vcam::nextClose(descriptor)
                                        : vcam::answerClose(device, descriptor);
}

int select(int count, fd_set *reading, fd_set *writing, fd_set *excepted, struct timeval *timeout) {
    if (!vcam::isRegisteredThread())
        return vcam::nextSelect(count, reading, writing, excepted, timeout);
    const vcam::Watched watched = vcam::findWatched(count, reading, writing);
    const bool isOnlyASleep = reading == nullptr && writing == nullptr && excepted == nullptr;
    if (!watched.hasPlaceholder && !isOnlyASleep)
        return vcam::nextSelect(count, reading, writing, excepted, timeout);
    return vcam::answerSelect(watched, reading, writing, excepted, timeout);
}
}
#pragma GCC visibility pop
