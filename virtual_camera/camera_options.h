// What a virtual camera is made of: chosen once, before its clock starts. option_table.h names each
// for people.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>

#include "flaws/flaws.h"

namespace vcam {

struct CameraOptions {
    uint64_t seed = 1;
    int lensType = 1;     ///< Row of lens_models/lens_model.cpp: 0 is LENS_A, 1 is LENS_B.
    uint64_t tieSeed = 0; ///< Says who goes on first of those due at once; 0: the first registered.
    bool kernelThreads = false; ///< Though the program has contexts.
    double pace = 0;            ///< Virtual seconds a real second; 0: unlimited.
    std::string picture;        ///< PNG or JPEG; empty: the generated scene.
    bool plainPicture = false;  ///< Nothing finer than the picture's pixels: no surface texture.
    std::string serialPath = "/dev/virtual-serial"; ///< Opening it gives the serial port.
    std::string scratch;   ///< Folder that stands in for /tmp/af... and /mnt/flash/...
    std::string traceFile; ///< Empty: only the tail is kept, in memory.
    std::string vcdFile;   ///< Where the trace is drawn as a waveform at power-off; empty: nowhere.
    std::string consoleFile; ///< Where what is printed goes; empty: nowhere, "-": standard output.
    double objectDistanceM = HUGE_VAL; ///< HUGE_VAL: at infinity.
    bool night = false;                ///< The scene is dark from the start.
    double frameRateHz = 25;
    bool gaussianBlur = false; ///< Gaussian instead of the disc, whose side lobes make false peaks.
    double noise = 1;          ///< Factor on the zones' noise; 0: none.
    bool builtInCurves = false; ///< The unit's curves are exactly the library's built-in ones.
    int serialReplies = 0;      ///< The library's settings, for its host to make.
    bool recovery = false;
    bool robustSearch = false;
    int toldBacklash = 0;  ///< Steps of the focus, whatever the lens has.
    int toldDelay = 0;     ///< Frames; -1: not known.
    bool onObject = false; ///< Zooming keeps the object sharp.
    int zoomStart = -1;    ///< True position at power-on; -1: from the seed.
    int focusStart = -1;
    Flaws flaws; ///< Of lens, sensor and scene; none.
};

} // namespace vcam
