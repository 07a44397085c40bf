#include "camera.h"

#include "boundary/console.h"
#include "boundary/placeholders.h"
#include "boundary/redirect.h"
#include "clock/scheduler.h"
#include "clock/trace.h"
#include "clock/unobserved.h"
#include "devices/power_on.h"
#include "devices/serial_port.h"
#include "waveform/waveform.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vcam {

static std::string traceFile;
static std::string vcdFile;

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
    vcdFile = options.vcdFile;
    const bool isTraceForVcd = options.traceFile.empty() && !vcdFile.empty();
    traceFile = isTraceForVcd ? scratchFolder() + "/trace.txt" : options.traceFile;
    require(openTrace(traceFile), "the trace file");
    require(openConsole(options.consoleFile), "the console file");
    powerOnSerialPort(options);
    require(reservePlaceholders(), "placeholder descriptors");
    if (!powerOnDevices(options)) {
        fprintf(stderr, "%s: not a PNG or JPEG picture\n", options.picture.c_str());
        giveUp();
    }
    atexit(powerOff);
    startClock(options.pace, options.tieSeed);
}

static void drawWaveform() {
    std::string error;
    if (!vcdFile.empty() && !writeWaveform(traceFile, vcdFile, error))
        fprintf(stderr, "virtual camera: %s\n", error.c_str());
    vcdFile.clear();
}

void powerOff() {
    const Unobserved unobserved;
    stopClock();
    flushConsole();
    flushTrace();
    drawWaveform();
    removeOwnScratch();
}

} // namespace vcam
