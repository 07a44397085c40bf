#include "boundary/placeholders.h"

#include "clock/next_call.h"
#include "devices/serial_port.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace vcam {

static constexpr int kReserved = 32; // more open at once is a leak, which ends in EMFILE
/// Placeholders lie below; all else is the process's own.
static constexpr int kHighestDescriptor = 256;

static Device devices[kHighestDescriptor];
static NextCall<int(const char *, int, ...)> nextOpen{"open"};

Device findDevice(int descriptor) {
    const bool canBeOurs = descriptor >= 0 && descriptor < kHighestDescriptor;
    return canBeOurs ? devices[descriptor] : Device::None;
}

const char *nameDevice(Device device) {
    switch (device) {
    case Device::Spi:
        return "/dev/spidev1.0";
    case Device::Gpio:
        return "/dev/hi_gpio";
    case Device::Serial:
        return "serial";
    case Device::Closed:
    case Device::None:
        break;
    }
    return "";
}

Device findDeviceByPath(const char *path) {
    for (const Device device : {Device::Spi, Device::Gpio}) {
        if (strcmp(path, nameDevice(device)) == 0)
            return device;
    }
    return serialPath() == path ? Device::Serial : Device::None;
}

int openPlaceholder(Device device, int lowest) {
    for (int descriptor = lowest; descriptor < kHighestDescriptor; ++descriptor) {
        if (devices[descriptor] == Device::Closed) {
            devices[descriptor] = device;
            return descriptor;
        }
    }
    errno = EMFILE;
    return -1;
}

void closePlaceholder(int descriptor) {
    devices[descriptor] = Device::Closed;
}

bool reservePlaceholders() {
    for (int i = 0; i < kReserved; ++i) {
        const int descriptor = nextOpen("/dev/null", O_RDWR | O_CLOEXEC);
        if (descriptor < 0 || descriptor >= kHighestDescriptor)
            return false;
        devices[descriptor] = Device::Closed;
    }
    const int serial = serialDescriptor();
    if (serial < 0 || serial >= kHighestDescriptor)
        return false;
    devices[serial] = Device::Serial;
    return true;
}

} // namespace vcam
