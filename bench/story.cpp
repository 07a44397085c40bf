#include "story.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <vector>

#include "autofocus_service.h"
#include "camera.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "host/memory_host.h"

namespace bench {

static constexpr int64_t kPollUs = 10000;
static constexpr int64_t kLimitUs = 60000000;

void giveUp(const char *what) {
    fprintf(stderr, "bench: %s\n", what);
    _exit(EXIT_FAILURE);
}

static void startLibrary() {
    vcam::introduceHost();
    if (AF_Manager_Start_API() != 0)
        giveUp("the library refuses to start");
}

// ---- The story ----

static void waitUntil(const std::function<bool()> &isDone, const char *what) {
    const int64_t endUs = vcam::nowUs() + kLimitUs;
    while (!isDone()) {
        if (vcam::nowUs() > endUs)
            giveUp(what);
        vcam::sleepUs(kPollUs);
    }
}

static bool isIdle() {
    return Lens_Get_Command() == CMD_NONE && __atomic_load_n(&g_AutoCheckFlag, __ATOMIC_ACQUIRE);
}

static void zoomTo(const std::vector<uint8_t> &command, unsigned limit) {
    vcam::controllerSends(command);
    waitUntil([&] { return vcam::truePosition(vcam::Axis::Zoom) == static_cast<int>(limit); },
              "the zoom never arrives");
}

void zoomToTele() {
    zoomTo({0x81, 0x01, 0x04, 0x07, 0x27, 0xFF}, ZM_Tele_Limit);
}

void zoomToWide() {
    zoomTo({0x81, 0x01, 0x04, 0x07, 0x37, 0xFF}, ZM_Wide_Limit);
}

void awaitFocus() {
    waitUntil(isIdle, "the autofocus run never ends");
}

void boot(const vcam::CameraOptions &options) {
    vcam::powerOn(options);
    startLibrary();
    waitUntil([] { return !vcam::host().savedPositions.empty(); }, "the lens never parks");
    awaitFocus();
}

} // namespace bench
