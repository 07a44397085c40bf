// Powers a camera on before main of a host that nobody rebuilt, and says at the end how it went.
//
// Only in a program that has the library loaded: a shell or another tool between the environment
// and the host is left alone.
#include "camera.h"
#include "camera_options.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "lens_models/lens_model.h"
#include "optics/lens_curves.h"
#include "option_table.h"
#include "preload/controller.h"
#include "preload/settings.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>

namespace vcam {

static constexpr double kUsPerS = 1e6;
static constexpr int kViolationStatus = 87; // beside the 86 of a camera that stopped

static void sayHowItWent() {
    fflush(stdout);
    for (const std::string &violation : violations())
        fprintf(stderr, "virtual camera: violation: %s\n", violation.c_str());
    fprintf(stderr,
            "virtual camera: %.3f s, truly at zoom %d focus %d, %+.2f half depths of focus off, "
            "%ld steps lost, %d violations\n",
            static_cast<double>(nowUs()) / kUsPerS, truePosition(Axis::Zoom),
            truePosition(Axis::Focus), focusErrorHalfDepths(),
            lostSteps(Axis::Zoom) + lostSteps(Axis::Focus), violationCount());
}

/// At exit of the host. Its status stands unless the hardware had something to complain of or one
/// of the camera's files is not whole.
static void closeRun() {
    sayHowItWent();
    const bool areFilesWhole = powerOff();
    if (violationCount() == 0 && areFilesWhole)
        return;
    fflush(nullptr);
    _exit(violationCount() > 0 ? kViolationStatus : EXIT_FAILURE);
}

/// On the controller's thread, of a host that does not end by itself.
static void endRun() {
    closeRun();
    fflush(nullptr);
    _exit(EXIT_SUCCESS);
}

static void noteSignal(int) {
    endSoon();
}

/// For a host that has no handlers of its own; a second Ctrl-C ends the process as usual.
static void handleSignals() {
    struct sigaction action = {};
    action.sa_handler = noteSignal;
    action.sa_flags = SA_RESTART;
    action.sa_flags |= static_cast<int>(SA_RESETHAND);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

/// A configuration, not a command: a word of the library's that is set before it starts.
static void tellLibrary(const char *name, int value) {
    if (int *word = static_cast<int *>(dlsym(RTLD_DEFAULT, name)))
        *word = value;
}

/// The same by the library's own function, for a host that does not know it. Nobody can while the
/// library isn't loaded, and one without settings has none.
static void makeSetting(const LibrarySetting &setting) {
    using Setter = int (*)(int, int);
    void *found = dlsym(RTLD_DEFAULT, "AF_Manager_Set_Setting_API");
    if (setting.value == 0 ||
        (found != nullptr && reinterpret_cast<Setter>(found)(setting.setting, setting.value) == 0))
        return;
    fprintf(stderr, "virtual camera: %s: no library that has this setting is loaded yet\n",
            nameVariable(*findOption(setting.option)).c_str());
    _exit(EXIT_FAILURE);
}

static void greet(const CameraOptions &camera) {
    fprintf(stderr, "virtual camera: seed %llu, lens %s, serial port %s",
            static_cast<unsigned long long>(camera.seed), lensModelOf(camera.lensType).name,
            camera.serialPath.c_str());
    if (!ptyName().empty())
        fprintf(stderr, ", controller programs on %s", ptyName().c_str());
    fprintf(stderr, "\n");
}

__attribute__((constructor)) static void powerOnAtLoad() {
    RunSettings settings;
    std::string error;
    const bool areSettingsGood = readSettings(settings, error);
    if (!settings.isForced && dlsym(RTLD_DEFAULT, "AF_Manager_Start_API") == nullptr)
        return;
    if (!areSettingsGood) {
        fprintf(stderr, "virtual camera: %s\n", error.c_str());
        _exit(EXIT_FAILURE);
    }
    tellLibrary("g_LensType", settings.camera.lensType);
    tellLibrary("g_ICUTState", settings.camera.night ? 1 : 0);
    for (const LibrarySetting &setting : librarySettings(settings.camera))
        makeSetting(setting);
    handleSignals();
    settings.camera.kernelThreads = true; // the host may do anything with its threads
    powerOn(settings.camera);
    atexit(closeRun);
    greet(settings.camera);
    if (!startController(settings, endRun)) {
        fprintf(stderr, "virtual camera: no thread for the controller\n");
        _exit(EXIT_FAILURE);
    }
}

} // namespace vcam
