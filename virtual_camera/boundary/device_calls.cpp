// ioctl, fcntl, read, write, fsync and close, answered for the simulated devices' descriptors on
// the calling registered thread; any other descriptor's calls go to libc, unless they are to fail.
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
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace vcam {

static NextCall<int(int, unsigned long, ...)> nextIoctl{"ioctl"};
static NextCall<int(int, int, ...)> nextFcntl{"fcntl"};
static NextCall<ssize_t(int, void *, size_t)> nextRead{"read"};
static NextCall<ssize_t(int, const void *, size_t)> nextWrite{"write"};
static NextCall<int(int)> nextFsync{"fsync"};
static NextCall<int(int)> nextClose{"close"};

static int fail(int error) {
    errno = error;
    return -1;
}

/// None also on threads that are not registered: there every call goes to libc.
static Device findAnswering(int descriptor) {
    return isRegisteredThread() ? findDevice(descriptor) : Device::None;
}

static int actOn(Device device, unsigned long request, void *argument) {
    if (device == Device::Spi)
        return spidevIoctl(request, argument);
    if (device == Device::Gpio)
        return gpioIoctl(request, argument);
    return fail(ENOTTY);
}

static int answerIoctl(Device device, unsigned long request, void *argument) {
    const Unobserved unobserved;
    chargeCall();
    if (device == Device::Closed)
        return fail(EBADF);
    const Strikes strikes = strikesNow("ioctl", nameDevice(device));
    const int error = errno;
    if (strikes == Strikes::Before)
        return -1;
    const int result = actOn(device, request, argument);
    return strikes == Strikes::After ? fail(error) : result;
}

/// A duplicate is the device's too; its other descriptor flags are the placeholder's.
static int answerFcntl(Device device, int descriptor, int command, long argument) {
    const bool isDuplicate = command == F_DUPFD || command == F_DUPFD_CLOEXEC;
    if (device == Device::None || !isDuplicate)
        return nextFcntl(descriptor, command, argument);
    if (device == Device::Closed)
        return fail(EBADF);
    if (failsNow("fcntl", nameDevice(device)))
        return -1;
    return openPlaceholder(device, static_cast<int>(argument));
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

static ssize_t writeFile(int descriptor, const void *bytes, size_t size) {
    return failsNow("write", "file") ? -1 : nextWrite(descriptor, bytes, size);
}

static int closeFile(int descriptor) {
    const int result = nextClose(descriptor);
    return failsNow("close", "file") ? -1 : result;
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

int fcntl(int descriptor, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    return vcam::answerFcntl(vcam::findAnswering(descriptor), descriptor, command, argument);
}

int fcntl64(int descriptor, int command, ...) __attribute__((alias("fcntl")));

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
    return device == vcam::Device::None ? vcam::writeFile(descriptor, bytes, size)
                                        : vcam::answerWrite(device, bytes, size);
}

int fsync(int descriptor) {
    return vcam::failsNow("fsync", "file") ? -1 : vcam::nextFsync(descriptor);
}

int close(int descriptor) {
    const vcam::Device device = vcam::findAnswering(descriptor);
    return device == vcam::Device::None ? vcam::closeFile(descriptor)
                                        : vcam::answerClose(device, descriptor);
}
}
#pragma GCC visibility pop
