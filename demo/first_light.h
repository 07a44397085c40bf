// The main story: from power-on to a sharp picture, a zoom from the serial port, an object that
// comes closer, and back to wide.
#pragma once

#include <string>

#include "camera_options.h"

namespace demo {

/// Play it; pictures, plots and the trace are left in @p outFolder. The process's exit status.
int playFirstLight(const vcam::CameraOptions &options, const std::string &outFolder);

/// Start the camera at the pace of @p options and show what a controller on its pseudo-terminal
/// makes it do, until Ctrl-C.
int playLive(const vcam::CameraOptions &options, const std::string &outFolder);

} // namespace demo
