// Everything below the boundary that is not the serial port: one call switches it on.
#pragma once

#include "camera_options.h"

namespace vcam {

/// Once, before the clock starts: lens, driver chip, SPI link, GPIO lines, scene, optics and ISP.
/// False when the picture that the scene is to be cannot be read.
bool powerOnDevices(const CameraOptions &options);

} // namespace vcam
