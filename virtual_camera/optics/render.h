// The picture as the sensor sees it now, for people and for documentation.
#pragma once

namespace vcam {

/// Writes the present view, 960 x 540, with the present blur disc (always the disc; at most 120
/// pixels across) and light. False when the file cannot be written.
bool writeScenePng(const char *path);

/// Writes the widest view, 960 x 540, in focus and by day, with a frame around what the lens shows
/// of it now. False when the file cannot be written.
bool writeWholeScenePng(const char *path);

} // namespace vcam
