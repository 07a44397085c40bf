// Presets and direct zoom over the serial port, across a power cycle.
#pragma once

#include <string>

#include "camera_options.h"

namespace demo {

/// Set, recall, clear and power-cycle presets, VISCA and Pelco-D mixed. The process's exit status.
int playPresets(const vcam::CameraOptions &options, const std::string &outFolder);

} // namespace demo
