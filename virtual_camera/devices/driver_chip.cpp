// The chip's own decoder, written from its register description. Called by the SPI and GPIO
// devices on whichever thread drives the motors.
#include "devices/driver_chip.h"

#include <algorithm>
#include <array>
#include <cinttypes>

#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "lens_models/lens_model.h"

namespace vcam {

static constexpr unsigned kRegisterCount = 64;
static constexpr unsigned kAddressBits = 0x3F;
static constexpr unsigned kReadFlag = 0x40;
static constexpr unsigned kZeroBit = 0x80;
static constexpr unsigned kDataShift = 8;

static constexpr uint16_t kStepCountBits = 0x00FF;
static constexpr uint16_t kDirectionBit = 0x0100;
static constexpr uint16_t kBrakeBit = 0x0200;
static constexpr uint16_t kEnableBit = 0x0400;
static constexpr uint16_t kLedBit = 0x0800;
static constexpr uint16_t kUnusedBits = 0xF000;

/// So many units of a step period last so many microseconds.
static constexpr int64_t kClockUnits = 28203;
static constexpr int64_t kClockUs = 25000;

static constexpr unsigned kRegisters[] = {0x20, 0x22, 0x23, 0x24, 0x25, 0x27, 0x28, 0x29, 0x2A};
static constexpr unsigned kSetUpRegisters[] = {0x20, 0x22, 0x23, 0x27, 0x28};

namespace {
struct Channel {
    Axis axis;
    const char *name;
    unsigned stepRegister;
    unsigned periodRegister;
};
} // namespace

static constexpr Channel kChannels[] = {
    {Axis::Zoom, "AB", 0x24, 0x25},
    {Axis::Focus, "CD", 0x29, 0x2A},
};

namespace {
struct Latched {
    uint16_t word = 0;
    uint16_t stepUnits = 0;
};

struct Chip {
    std::array<uint16_t, kRegisterCount> registers{};
    std::array<bool, kRegisterCount> written{};
    Latched latched[2];
    bool inReset = true;
    int64_t periodEndUs = 0;
};
} // namespace

static Chip chip;
static const LensModel *wiring;

static bool isKnown(unsigned address) {
    return std::find(std::begin(kRegisters), std::end(kRegisters), address) != std::end(kRegisters);
}

static bool isSetUp() {
    for (const unsigned address : kSetUpRegisters) {
        if (!chip.written[address])
            return false;
    }
    return true;
}

static void checkStepWord(unsigned address, uint16_t value) {
    for (const Channel &channel : kChannels) {
        if (address == channel.stepRegister && (value & kUnusedBits) != 0) {
            recordViolation("chip", "unused bits set in step word 0x%04x of channel %s", value,
                            channel.name);
        }
    }
}

static void writeRegister(unsigned address, uint16_t value) {
    if (chip.inReset) {
        recordViolation("chip", "write of register 0x%02x while in reset", address);
        return;
    }
    if (!isKnown(address)) {
        recordViolation("chip", "write of unknown register 0x%02x", address);
        return;
    }
    checkStepWord(address, value);
    chip.registers[address] = value;
    chip.written[address] = true;
    trace("chip", "write", "register=0x%02x value=0x%04x", address, value);
}

static uint16_t readRegister(unsigned address) {
    if (chip.inReset) {
        recordViolation("chip", "read of register 0x%02x while in reset", address);
        return 0;
    }
    if (!isKnown(address)) {
        recordViolation("chip", "read of unknown register 0x%02x", address);
        return 0;
    }
    return chip.registers[address];
}

/// Takes the channel's words over and starts what they ask for.
static void latchChannel(const Channel &channel, Latched &latched, int64_t periodUs) {
    latched.word = chip.registers[channel.stepRegister];
    latched.stepUnits = chip.registers[channel.periodRegister];
    const int steps = latched.word & kStepCountBits;
    const bool runs = (latched.word & kEnableBit) != 0 && (latched.word & kBrakeBit) == 0;
    if (!runs || steps == 0) {
        stopMotor(channel.axis);
        return;
    }
    const bool fits = int64_t{steps} * latched.stepUnits * kClockUs <= periodUs * kClockUnits;
    if (latched.stepUnits == 0 || !fits) {
        recordViolation("chip", "channel %s: %d steps of %u units do not fit %" PRId64 " us",
                        channel.name, steps, latched.stepUnits, periodUs);
    }
    const bool isBitSet = (latched.word & kDirectionBit) != 0;
    const AxisModel &wired = wiring->axes[channel.axis == Axis::Zoom ? 0 : 1];
    const int sign = wired.directionWhenSet * (isBitSet ? 1 : -1);
    const double stepUs = static_cast<double>(latched.stepUnits * kClockUs) / kClockUnits;
    runMotor(channel.axis, sign, steps, stepUs);
    trace("chip", "run", "channel=%s steps=%d units=%u", channel.name, sign * steps,
          latched.stepUnits);
}

uint32_t exchangeFrame(uint32_t frame) {
    const unsigned address = frame & kAddressBits;
    if ((frame & kZeroBit) != 0)
        recordViolation("chip", "bit 7 set in frame 0x%06x", frame);
    if ((frame & kReadFlag) != 0)
        return static_cast<uint32_t>(readRegister(address)) << kDataShift;
    writeRegister(address, static_cast<uint16_t>(frame >> kDataShift));
    return 0;
}

void pulseVd(int64_t periodUs) {
    const int64_t now = nowUs();
    if (chip.inReset) {
        recordViolation("chip", "VD pulse while in reset");
        return;
    }
    if (!isSetUp())
        recordViolation("chip", "VD pulse before the chip was set up");
    if (now < chip.periodEndUs) {
        recordViolation("chip", "VD pulse %" PRId64 " us before the period had ended",
                        chip.periodEndUs - now);
    }
    chip.periodEndUs = now + periodUs;
    for (size_t index = 0; index < 2; ++index)
        latchChannel(kChannels[index], chip.latched[index], periodUs);
}

void driveReset(int level) {
    const bool resets = level == 0;
    if (resets == chip.inReset)
        return;
    trace("chip", "reset", "level=%d", level);
    if (resets) {
        chip = Chip{};
        stopMotor(Axis::Zoom);
        stopMotor(Axis::Focus);
    }
    chip.inReset = resets;
}

bool isVdPeriodRunning() {
    return nowUs() < chip.periodEndUs;
}

int64_t vdEndUs() {
    return chip.periodEndUs;
}

bool isLedLit(Axis channel) {
    return (chip.latched[channel == Axis::Zoom ? 0 : 1].word & kLedBit) != 0;
}

uint16_t peekRegister(unsigned address) {
    return isKnown(address) ? chip.registers[address] : uint16_t{0};
}

void pokeRegister(unsigned address, uint16_t value) {
    if (isKnown(address))
        chip.registers[address] = value;
}

void powerOnDriverChip(const CameraOptions &options) {
    chip = Chip{};
    wiring = &lensModelOf(options.lensType);
}

} // namespace vcam
