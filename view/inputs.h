// Everything that can come to the camera from outside, in words: bytes on its line, orders of its
// host, changes of the world, faults. A row a verb; whoever adds one adds a row.
#pragma once

#include <string>

#include "camera_options.h"

namespace view {

/// Empty, or why the text is no input. Pure: may be asked before the camera is on.
std::string checkInput(const std::string &text);

/// Let an input that was found good come to the camera that runs, whose present options these are.
/// On the host's thread.
void applyInput(const std::string &text, vcam::CameraOptions &options);

} // namespace view
