#include "devices/serial_port.h"

#include "clock/next_call.h"
#include "clock/pace.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

namespace vcam {

static constexpr size_t kPtyChunk = 256;

static NextCall<int(const char *, int, ...)> nextOpen{"open"};
static NextCall<ssize_t(int, void *, size_t)> nextRead{"read"};
static NextCall<ssize_t(int, const void *, size_t)> nextWrite{"write"};
static NextCall<int(int, struct termios *)> nextTcgetattr{"tcgetattr"};
static NextCall<int(int, int, const struct termios *)> nextTcsetattr{"tcsetattr"};

static int placeholder = -1;
static std::string path;
static std::vector<uint8_t> toCamera;
static std::vector<uint8_t> toController;
static bool hasHungUp;
static WaitQueue readers{"serial"};
static WaitQueue listeners{"controller"};

static int ptyMaster = -1;
static std::string ptySlaveName;

int serialDescriptor() {
    return placeholder;
}

const std::string &serialPath() {
    return path;
}

static void traceBytes(const char *event, const uint8_t *bytes, size_t size) {
    static const char kDigits[] = "0123456789abcdef";
    std::string hex;
    for (size_t i = 0; i < size; ++i) {
        hex += kDigits[bytes[i] >> 4];
        hex += kDigits[bytes[i] & 0xF];
    }
    trace("serial", event, "bytes=%s", hex.c_str());
}

bool isSerialReadable() {
    return !toCamera.empty() || hasHungUp;
}

bool waitSerialReadable(int64_t deadlineUs) {
    while (!isSerialReadable()) {
        if (!waitFor(readers, deadlineUs))
            break;
    }
    return isSerialReadable();
}

size_t readSerial(uint8_t *bytes, size_t size) {
    waitSerialReadable(kForeverUs);
    const size_t count = std::min(size, toCamera.size());
    const auto end = toCamera.begin() + static_cast<std::ptrdiff_t>(count);
    std::copy(toCamera.begin(), end, bytes);
    toCamera.erase(toCamera.begin(), end);
    traceBytes("read", bytes, count);
    return count;
}

void writeSerial(const uint8_t *bytes, size_t size) {
    traceBytes("write", bytes, size);
    toController.insert(toController.end(), bytes, bytes + size);
    if (ptyMaster >= 0 && nextWrite(ptyMaster, bytes, size) != static_cast<ssize_t>(size))
        trace("serial", "overrun", "size=%zu", size); // nobody reads the other end
    wakeAll(listeners);
}

void controllerSends(const std::vector<uint8_t> &bytes) {
    traceBytes("receive", bytes.data(), bytes.size());
    toCamera.insert(toCamera.end(), bytes.begin(), bytes.end());
    wakeAll(readers);
}

std::vector<uint8_t> cameraSent() {
    std::vector<uint8_t> taken;
    taken.swap(toController);
    return taken;
}

bool waitCameraSent(int64_t deadlineUs) {
    while (toController.empty()) {
        if (!waitFor(listeners, deadlineUs))
            break;
    }
    return !toController.empty();
}

void hangUpSerial() {
    trace("serial", "hangup", "left=%zu", toCamera.size());
    hasHungUp = true;
    wakeAll(readers);
}

// ---- the pseudo-terminal

std::string ptyName() {
    return ptySlaveName;
}

static void takeFromPty() {
    uint8_t bytes[kPtyChunk];
    const ssize_t count = nextRead(ptyMaster, bytes, sizeof(bytes));
    if (count > 0)
        controllerSends(std::vector<uint8_t>(bytes, bytes + count));
}

/// Raw, or the line would echo the camera's own bytes back to it.
static bool makeRaw(int descriptor) {
    struct termios settings = {};
    if (nextTcgetattr(descriptor, &settings) != 0)
        return false;
    cfmakeraw(&settings);
    return nextTcsetattr(descriptor, TCSANOW, &settings) == 0;
}

static bool openPty() {
    ptyMaster = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC | O_NONBLOCK);
    char name[64];
    const bool isThere = ptyMaster >= 0 && grantpt(ptyMaster) == 0 && unlockpt(ptyMaster) == 0 &&
                         ptsname_r(ptyMaster, name, sizeof(name)) == 0;
    if (!isThere)
        return false;
    ptySlaveName = name;
    // Kept open: without any opener the master would report a hang-up all the time.
    const int slave = nextOpen(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    return slave >= 0 && makeRaw(slave);
}

void powerOnSerialPort(const CameraOptions &options) {
    path = options.serialPath;
    placeholder = nextOpen("/dev/null", O_RDWR | O_CLOEXEC);
    if (options.pace <= 0)
        return;
    if (openPty())
        watchOutside(ptyMaster, takeFromPty);
    else
        ptySlaveName.clear();
}

} // namespace vcam
