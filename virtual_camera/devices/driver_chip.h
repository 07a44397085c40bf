// The two-channel stepper driver: channel AB turns the zoom motor, channel CD the focus motor.
//
// Models: the 24-bit register frames, the registers, latching of the step words at a VD pulse, the
// LED outputs, the reset pin. A step word stays in force at every later pulse until rewritten.
// Does not model: coil currents (the pulse-width and set-up words are kept, not interpreted).
// Injects no faults itself; what the chip would not forgive becomes a recorded violation.
#pragma once

#include <cstdint>

#include "camera_options.h"
#include "devices/lens.h"

namespace vcam {

/// One SPI frame of 24 bits, bit 0 first on the wire; what the chip shifts out meanwhile.
uint32_t exchangeFrame(uint32_t frame);

/// A pulse on the VD pin. The period until the next one is known to the caller, not to the chip;
/// it serves to find steps that do not fit.
void pulseVd(int64_t periodUs);

/// Level of the reset pin; low holds the chip in reset.
void driveReset(int level);

bool isVdPeriodRunning();

/// When the last VD period ends or has ended.
int64_t vdEndUs();

/// Whether the LED output of the channel that turns this axis is on: by the word in force, not by
/// the one written last.
bool isLedLit(Axis channel);

/// Back door: a register as last written, without an SPI frame. Unknown addresses read 0.
uint16_t peekRegister(unsigned address);
void pokeRegister(unsigned address, uint16_t value);

void powerOnDriverChip(const CameraOptions &options);

} // namespace vcam
