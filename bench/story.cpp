#include "story.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <vector>

#include "autofocus.h"
#include "autofocus/lens_state.h"
#include "camera.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "host/controller_frames.h"
#include "host/lens_watch.h"
#include "host/memory_host.h"

namespace bench {

static constexpr int64_t kPollUs = 10000;
static constexpr int64_t kLimitUs = 60000000;

void giveUp(const char *what) {
    fprintf(stderr, "bench: %s\n", what);
    _exit(EXIT_FAILURE);
}

void takeNoWords(int argc, char **argv, const char *what) {
    if (argc == 1)
        return;
    const bool isHelp = argc == 2 && strcmp(argv[1], "--help") == 0;
    fprintf(isHelp ? stdout : stderr, "%s takes no words: it measures %s\n", argv[0], what);
    exit(isHelp ? EXIT_SUCCESS : EXIT_FAILURE);
}

int closeReport() {
    if (fflush(stdout) == 0 && ferror(stdout) == 0)
        return EXIT_SUCCESS;
    fprintf(stderr, "bench: the figures can't be printed\n");
    return EXIT_FAILURE;
}

static void startLibrary() {
    vcam::introduceHost();
    if (AF_Manager_Start_API() != 0)
        giveUp("the library refuses to start");
}

// ---- The story ----

static void waitUntil(const std::function<bool()> &isDone, const char *what) {
    if (!vcam::awaitUntil(isDone, kLimitUs, kPollUs))
        giveUp(what);
}

static void zoomTo(const vcam::Bytes &command, unsigned limit) {
    vcam::controllerSends(command);
    waitUntil([&] { return vcam::truePosition(vcam::Axis::Zoom) == static_cast<int>(limit); },
              "the zoom never arrives");
}

void zoomToTele() {
    zoomTo(vcam::kViscaTele, ZM_Tele_Limit);
}

void zoomToWide() {
    zoomTo(vcam::kViscaWide, ZM_Wide_Limit);
}

void awaitFocus() {
    waitUntil(vcam::isIdle, "the autofocus run never ends");
}

void boot(const vcam::CameraOptions &options) {
    vcam::powerOn(options);
    startLibrary();
    waitUntil([] { return !vcam::host().savedPositions.empty(); }, "the lens never parks");
    awaitFocus();
}

} // namespace bench
