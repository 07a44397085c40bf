// The trace as a waveform: SPI words, VD pulses, photo-interrupters, motor positions, the focus
// value and the serial port's bytes on one time axis, for a waveform viewer.
#pragma once

#include <string>

namespace vcam {

/// Read a trace and write what it says as a value change dump. False with @p error saying which
/// file is in the way.
bool writeWaveform(const std::string &traceFile, const std::string &vcdFile, std::string &error);

} // namespace vcam
