// The serial line to the controller: queues in memory behind a placeholder descriptor.
//
// Models: bytes in both directions, a receiver that waits as a blocking terminal does (one byte is
// enough), the line hanging up. At real-time pace a pseudo-terminal stands in front of the queues,
// so that any terminal or controller program can talk to the camera.
// Does not model: time on the wire, line settings, a full transmit buffer.
// Faults: hangUpSerial here; system calls that fail are injected at the boundary.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "camera_options.h"

namespace vcam {

/// A descriptor to hand to the library; nothing is behind it but the boundary.
int serialDescriptor();

/// The path whose opening gives another such descriptor; empty: none.
const std::string &serialPath();

// ---- what the boundary calls

bool isSerialReadable();

/// Wait until the line is readable or @p deadlineUs comes; whether it is readable.
bool waitSerialReadable(int64_t deadlineUs);

/// As read: waits for the first byte; 0 once the line has hung up and is empty.
size_t readSerial(uint8_t *bytes, size_t size);

void writeSerial(const uint8_t *bytes, size_t size);

// ---- back door

void controllerSends(const std::vector<uint8_t> &bytes);

/// What the camera has sent since the last call.
std::vector<uint8_t> cameraSent();

/// Wait until the camera has sent something or @p deadlineUs comes; whether it has.
bool waitCameraSent(int64_t deadlineUs);

/// From now on reads give what is left and then the end of the file.
void hangUpSerial();

/// The pseudo-terminal's name for terminal programs; empty at unlimited pace.
std::string ptyName();

void powerOnSerialPort(const CameraOptions &options);

} // namespace vcam
