#include "camera.h"

#include "boundary/console.h"
#include "boundary/placeholders.h"
#include "boundary/redirect.h"
#include "clock/scheduler.h"
#include "clock/trace.h"
#include "clock/unobserved.h"
#include "devices/power_on.h"
#include "devices/serial_port.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vcam {

/// No handlers run: none of what they would take down is there yet.
[[noreturn]] static void giveUp() {
    removeOwnScratch();
    fflush(nullptr);
    _Exit(EXIT_FAILURE);
}

static void require(bool isDone, const char *what) {
    if (isDone)
        return;
    fprintf(stderr, "virtual camera: can't make %s: %s\n", what, strerror(errno));
    giveUp();
}

// The order: what the machine may refuse, then the devices, which read real files, and the clock
// last, since from then on this thread's calls are answered by the boundary.
void powerOn(const CameraOptions &options) {
    const Unobserved unobserved;
    setenv("TZ", "UTC", 1);
    require(makeScratch(options.scratch), "the scratch folder");
    require(openTrace(options.traceFile), "the trace file");
    require(openConsole(options.consoleFile), "the console file");
    powerOnSerialPort(options);
    require(reservePlaceholders(), "placeholder descriptors");
    if (!powerOnDevices(options)) {
        fprintf(stderr, "%s: not a PNG or JPEG picture\n", options.picture.c_str());
        giveUp();
    }
    atexit(powerOff);
    startClock(options.pace);
}

void powerOff() {
    const Unobserved unobserved;
    stopClock();
    flushConsole();
    flushTrace();
    removeOwnScratch();
}

} // namespace vcam
