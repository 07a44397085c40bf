#include "camera.h"

#include "boundary/console.h"
#include "boundary/placeholders.h"
#include "boundary/redirect.h"
#include "clock/next_call.h"
#include "clock/scheduler.h"
#include "clock/trace.h"
#include "clock/unobserved.h"
#include "devices/serial_port.h"
#include "power_on.h"
#include "waveform/waveform.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vcam {

static NextCall<FILE *(const char *, const char *)> nextFopen{"fopen"};

static std::string traceFile;
static std::string vcdFile;
static std::string consoleFile;

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

/// Its content comes last, but whether there can be one is known from the first.
static bool makeVcdFile() {
    FILE *const file = vcdFile.empty() ? nullptr : nextFopen(vcdFile.c_str(), "we");
    return vcdFile.empty() || (file != nullptr && fclose(file) == 0);
}

// The order: what the machine may refuse, then the devices, which read real files, and the clock
// last, since from then on this thread's calls are answered by the boundary.
void powerOn(const CameraOptions &options) {
    const Unobserved unobserved;
    setenv("TZ", "UTC", 1);
    require(makeScratch(options.scratch), "the scratch folder");
    vcdFile = options.vcdFile;
    consoleFile = options.consoleFile;
    const bool isTraceForVcd = options.traceFile.empty() && !vcdFile.empty();
    traceFile = isTraceForVcd ? scratchFolder() + "/trace.txt" : options.traceFile;
    require(openTrace(traceFile), "the trace file");
    require(openConsole(consoleFile), "the console file");
    require(makeVcdFile(), "the waveform's file");
    powerOnSerialPort(options);
    require(reservePlaceholders(), "placeholder descriptors");
    if (!powerOnDevices(options)) {
        fprintf(stderr, "%s: no PNG or JPEG picture that can be read whole\n",
                options.picture.c_str());
        giveUp();
    }
    atexit([] { powerOff(); });
    startClock(options.pace, options.tieSeed, options.kernelThreads);
}

static bool requireWhole(bool isWhole, const std::string &file) {
    if (!isWhole)
        fprintf(stderr, "virtual camera: %s: can't be written: %s\n", file.c_str(),
                strerror(errno));
    return isWhole;
}

static bool drawWaveform() {
    std::string error;
    if (!vcdFile.empty() && !writeWaveform(traceFile, vcdFile, error))
        fprintf(stderr, "virtual camera: %s\n", error.c_str());
    return error.empty();
}

/// No waveform is drawn of half a trace.
static bool writeFiles() {
    const bool isTold = requireWhole(closeConsole(), consoleFile);
    const bool isDrawn = requireWhole(closeTrace(), traceFile) && drawWaveform();
    return isTold && isDrawn;
}

bool powerOff() {
    const Unobserved unobserved;
    stopClock();
    static const bool areFilesWhole = writeFiles();
    removeOwnScratch();
    return areFilesWhole;
}

} // namespace vcam
