// The story that the benches play: the camera boots, finds focus, zooms to the tele end and back.
#pragma once

#include <functional>

#include "camera_options.h"

namespace bench {

/// Say why and leave; the process of a run ends.
[[noreturn]] void giveUp(const char *what);

/// For a main that takes no words: --help says what it does, any other is refused; both end the
/// process.
void takeNoWords(int argc, char **argv, const char *what);

/// A main's last word: its figures are printed, or else standard error says so. The exit status.
int closeReport();

/// Power on, start the library for a host in memory, and wait until the first
/// autofocus run is done.
void boot(const vcam::CameraOptions &options);

/// Zoom by a VISCA command until the limit; the library goes on with an autofocus run.
void zoomToTele();
void zoomToWide();

/// Until that autofocus run is done.
void awaitFocus();

} // namespace bench
