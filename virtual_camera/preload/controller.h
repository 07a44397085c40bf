// The virtual thread that plays the controller at the other end of the serial port, and ends the
// run when its time has come.
#pragma once

#include "preload/settings.h"

namespace vcam {

/// After power-on, once. @p endRun is called on the controller's thread when the time is over and
/// the host, asked to end, has not: it does not return.
bool startController(const RunSettings &settings, void (*endRun)());

/// From a signal handler: end the run soon.
void endSoon();

} // namespace vcam
