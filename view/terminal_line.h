// A pseudo-terminal beside the page's own serial line, for any controller program. It belongs to
// the server: cameras come and go behind it.
#pragma once

#include <functional>
#include <string>

#include "frame_words.h"

namespace view {

/// Its name for terminal programs; empty when there is none to be had. @p take gets what comes, on
/// a thread of its own.
std::string openTerminalLine(std::function<void(const Bytes &)> take);

void writeTerminalLine(const Bytes &bytes);

} // namespace view
