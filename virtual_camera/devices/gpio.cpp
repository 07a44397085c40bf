// Requests carry a group, a bit and a value; a line is known here by its pin number, counted from
// 1. Runs on the thread that makes the call; only the VD pulse waits.
#include "devices/gpio.h"

#include <array>
#include <cerrno>
#include <cstdint>

#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"
#include "devices/lens.h"

namespace vcam {

namespace {
enum Request : unsigned long {
    kGetDirection = 16,
    kSetDirection = 17,
    kReadBit = 18,
    kWriteBit = 19,
    kPulseVd = 48,
    kPulseStatus = 49
};

/// The device's argument record, as its callers lay it out.
struct LineRequest {
    uint32_t group;
    uint32_t bit;
    uint32_t value;
};
} // namespace

static constexpr unsigned kBitsPerGroup = 8;
static constexpr unsigned kPinCount = 18 * kBitsPerGroup;

static constexpr unsigned kZoomSensorPin = 3;
static constexpr unsigned kFocusSensorPin = 4;
static constexpr unsigned kSecondVdPin = 41;
static constexpr unsigned kVdPin = 46;
static constexpr unsigned kZoomRunningPin = 47;
static constexpr unsigned kFocusRunningPin = 48;
static constexpr unsigned kResetPin = 116;

namespace {
struct Line {
    bool isOutput = false;
    bool isDirectionSet = false;
    int level = 0;
};
} // namespace

static std::array<Line, kPinCount + 1> lines;

/// The zoom sensor is lit by the focus channel's LED output, the focus sensor by the zoom
/// channel's.
static int readSensor(Axis axis) {
    const Axis lightingChannel = axis == Axis::Zoom ? Axis::Focus : Axis::Zoom;
    if (!isLedLit(lightingChannel)) {
        recordViolation("gpio", "%s photo-interrupter read in the dark",
                        axis == Axis::Zoom ? "zoom" : "focus");
        return 0;
    }
    return readPhotoInterrupter(axis);
}

static int readLine(unsigned pin) {
    const Line &line = lines[pin];
    const bool isSensor = pin == kZoomSensorPin || pin == kFocusSensorPin;
    if (isSensor && (line.isOutput || !line.isDirectionSet))
        recordViolation("gpio", "pin %u read but not set to input", pin);
    switch (pin) {
    case kZoomSensorPin:
        return readSensor(Axis::Zoom);
    case kFocusSensorPin:
        return readSensor(Axis::Focus);
    default:
        return probePin(pin);
    }
}

static void setDirection(unsigned pin, bool isOutput) {
    lines[pin].isOutput = isOutput;
    lines[pin].isDirectionSet = true;
    trace("gpio", "direction", "pin=%u output=%d", pin, isOutput ? 1 : 0);
}

static void driveLine(unsigned pin, uint32_t level) {
    if (!lines[pin].isOutput) {
        recordViolation("gpio", "pin %u driven but not set to output", pin);
        return;
    }
    lines[pin].level = level != 0 ? 1 : 0;
    trace("gpio", "drive", "pin=%u level=%d", pin, lines[pin].level);
    if (pin == kResetPin)
        driveReset(lines[pin].level);
}

static void pulseLine(unsigned pin, uint32_t periodUs) {
    if ((pin != kVdPin && pin != kSecondVdPin) || !lines[pin].isOutput)
        recordViolation("gpio", "VD pulse on pin %u, which is no VD output", pin);
    trace("gpio", "vd", "pin=%u period_us=%u", pin, periodUs);
    const int64_t endUs = nowUs() + periodUs;
    if (pin == kVdPin && lines[pin].isOutput)
        pulseVd(periodUs);
    sleepUntilUs(endUs);
}

int gpioIoctl(unsigned long request, void *argument) {
    if (argument == nullptr) {
        errno = EFAULT;
        return -1;
    }
    LineRequest &line = *static_cast<LineRequest *>(argument);
    if (line.bit >= kBitsPerGroup || line.group >= kPinCount / kBitsPerGroup) {
        recordViolation("gpio", "no line group %u bit %u", line.group, line.bit);
        errno = EINVAL;
        return -1;
    }
    const unsigned pin = line.group * kBitsPerGroup + line.bit + 1;
    switch (request) {
    case kGetDirection:
        line.value = lines[pin].isOutput ? 1 : 0;
        return 0;
    case kSetDirection:
        setDirection(pin, line.value != 0);
        return 0;
    case kReadBit:
        line.value = static_cast<uint32_t>(readLine(pin));
        trace("gpio", "read", "pin=%u level=%u", pin, line.value);
        return 0;
    case kWriteBit:
        driveLine(pin, line.value);
        return 0;
    case kPulseVd:
        pulseLine(pin, line.value);
        return 0;
    case kPulseStatus:
        line.value = isVdPeriodRunning() ? 1 : 0;
        return 0;
    default:
        errno = ENOTTY;
        return -1;
    }
}

int probePin(unsigned pin) {
    switch (pin) {
    case kZoomSensorPin:
        return readPhotoInterrupter(Axis::Zoom);
    case kFocusSensorPin:
        return readPhotoInterrupter(Axis::Focus);
    case kZoomRunningPin:
        return isMotorRunning(Axis::Zoom) ? 1 : 0;
    case kFocusRunningPin:
        return isMotorRunning(Axis::Focus) ? 1 : 0;
    default:
        return pin >= 1 && pin <= kPinCount ? lines[pin].level : 0;
    }
}

void powerOnGpio(const CameraOptions &) {
    lines = {};
}

} // namespace vcam
