// A virtual camera in this process: devices beneath the unchanged library, in virtual time.
//
// One camera a process and one power-on: whoever wants another scenario forks before the first.
#pragma once

#include "camera_options.h"

namespace vcam {

/// First thing in a process. The caller becomes virtual thread "host": from now on it and the
/// threads that it starts live in virtual time. Ends the process, saying why, when the camera's
/// files cannot be made.
void powerOn(const CameraOptions &options);

/// Stop the clock for good, hand trace, console and waveform to their files and remove a scratch
/// folder that nobody named. False, and said on standard error, when a file is not whole. Runs at
/// exit; who leaves with _exit calls it before. A camera that stopped by itself
/// (clock/last_words.h) leaves its folder for whoever looks into it.
bool powerOff();

} // namespace vcam
