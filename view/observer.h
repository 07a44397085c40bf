// What the page is told of the camera: the lens once, samples a frame, status, serial line, console
// and events as they come. All of it on the host's thread, or on a thread of the library's while it
// holds the baton.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "camera_options.h"
#include "frame_words.h"

namespace view {

/// From before the library starts.
void beginObserving(const vcam::CameraOptions &options, int64_t offsetTicks);

/// Once a tick: what the camera has sent on its line since.
Bytes observeTick(int64_t tick);

/// A controller's bytes, to be explained beside the answers.
void noteSent(const std::string &input);

/// What has changed since, a JSON object a line; the lines of the lens ahead when they are new.
std::vector<std::string> takeStaticLines();
std::string takeState(int64_t tick, const std::string &more);

} // namespace view
