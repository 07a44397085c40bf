// How a camera that can't go on ends its process: the thread table and the tail of the trace on
// standard error, then an exit status of its own. May be called from a signal handler.
#pragma once

namespace vcam {

/// The exit status of a process whose camera stopped.
constexpr int kCameraStoppedStatus = 86;

[[noreturn]] void endProcess(const char *reason);

} // namespace vcam
