// The camera at a pace that people can follow, for a controller on its pseudo-terminal.
#pragma once

#include <string>

#include "camera_options.h"

namespace demo {

/// Start the camera at the pace of @p options and show what a controller on its pseudo-terminal
/// makes it do, until Ctrl-C.
int playLive(const vcam::CameraOptions &options, const std::string &outFolder);

} // namespace demo
