// What the frames on the serial line mean, in words, and where one ends and the next begins.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace view {

using Bytes = std::vector<uint8_t>;

/// Length of the frame at the start of the bytes; 0: there is more to come.
size_t measureFrame(const Bytes &bytes);

/// A controller's frame, and one of the camera's.
std::string explainOrder(const Bytes &frame);
std::string explainAnswer(const Bytes &frame);

} // namespace view
