// The start-up thread: driver, lens, then the two threads that run a camera.
#pragma once

/// Whether start-up has come to its end without one of them.
bool lacksLensThreads();

/// Start those that do not run yet, on the start-up thread, or later under the claim of a start;
/// false with a message when one cannot be created.
bool startLensThreads();
