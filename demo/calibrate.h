// A unit whose in-focus curve is offset and bent from the built-in one measures its own.
#pragma once

#include <string>

#include "camera_options.h"

namespace demo {

/// Zoom, measure, restart, zoom again, compare; plot and table are left in @p outFolder. The
/// process's exit status.
int playCalibration(const vcam::CameraOptions &options, const std::string &outFolder);

} // namespace demo
