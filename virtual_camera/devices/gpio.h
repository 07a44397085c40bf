// /dev/hi_gpio: the lines between the processor and the lens.
//
// Models: directions and levels, the VD pulse that blocks for its period, the motors' status lines,
// photo-interrupters that can be read only while the other channel's LED is lit.
// Does not model: other lines' purposes (they keep a direction and a level).
// Faults: see stickPhotoInterrupter in lens.h; system calls that fail are injected at the boundary.
#pragma once

#include "camera_options.h"

namespace vcam {

/// As ioctl on the open device. A VD pulse takes its period of virtual time.
int gpioIoctl(unsigned long request, void *argument);

/// Back door: level of a line as a probe would find it; pins count from 1.
int probePin(unsigned pin);

void powerOnGpio(const CameraOptions &options);

} // namespace vcam
