// The main story: from power-on to a sharp picture, a zoom from the serial port, an object that
// comes closer, and back to wide.
#pragma once

#include <string>

#include "camera_options.h"

namespace demo {

/// Play it; pictures, plots and the trace are left in @p outFolder. The process's exit status.
int playFirstLight(const vcam::CameraOptions &options, const std::string &outFolder);

} // namespace demo
