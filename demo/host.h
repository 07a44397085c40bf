// A camera's main application as far as the lens is concerned, written with the public header
// alone: callbacks over a file store, the serial port handed over, the library started.
#pragma once

#include <utility>
#include <vector>

#include "file_store.h"

namespace demo {

/// An AF_Setting_em and its value.
using Setting = std::pair<int, int>;

/// Register the callbacks over @p store (which must outlive the library), hand over the serial
/// descriptor, make the settings and start the library; false when it refuses.
bool startHost(const FileStore &store, int serialFd, const std::vector<Setting> &settings);

/// Times the library has handed its position to be kept.
int countSavedPositions();

/// Day/night requests answered so far; the last mode asked for is 1 night, 2 day, 0 none yet.
int lastDayNightRequest();

} // namespace demo
