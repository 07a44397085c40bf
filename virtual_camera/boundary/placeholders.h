// Descriptors of the simulated devices.
//
// The library opens and closes the GPIO device around every access; so a few real descriptors are
// set aside once, and opening a device only lends one of them out, without a system call.
#pragma once

namespace vcam {

enum class Device : unsigned char { None, Closed, Spi, Gpio, Serial };

/// What is behind a descriptor: None when it is not ours, Closed when it is set aside.
Device findDevice(int descriptor);

/// As faults and traces call it.
const char *nameDevice(Device device);

/// The device that a path names, or None.
Device findDeviceByPath(const char *path);

/// A descriptor of the device from @p lowest on, or -1 with errno set when the process has too many
/// open.
int openPlaceholder(Device device, int lowest = 0);

void closePlaceholder(int descriptor);

/// Set the descriptors aside, the serial port's among them; false when there are not enough.
bool reservePlaceholders();

} // namespace vcam
