// /dev/spidev1.0: the Linux SPI device behind which the driver chip sits.
//
// Models: the six mode requests and one-transfer messages, passed to the chip as 24-bit frames.
// Does not model: time on the wire (24 us a frame, which no caller waits for), other transfer
// counts. Faults of the system calls themselves are injected at the boundary.
#pragma once

#include "camera_options.h"

namespace vcam {

/// As ioctl on the open device: 0 or the bytes moved, or -1 with errno set.
int spidevIoctl(unsigned long request, void *argument);

void powerOnSpidev(const CameraOptions &options);

} // namespace vcam
