#include "preload/controller.h"

#include "boundary/signal_calls.h"
#include "clock/next_call.h"
#include "clock/scheduler.h"
#include "clock/virtual_clock.h"
#include "devices/serial_port.h"
#include "optics/scene.h"
#include "preload/script.h"

#include <algorithm>
#include <csignal>
#include <cstdio>

namespace vcam {

static constexpr double kUsPerS = 1e6;
static constexpr int64_t kReadAgainUs = 50000;
static constexpr int64_t kGraceUs = 10000000; // for a host that has been asked to end

static RunSettings run;
static void (*endRunNow)();
static volatile std::sig_atomic_t isEndAsked;

static NextCall<CreateThread> nextCreate{"pthread_create"};

void endSoon() {
    isEndAsked = 1;
}

static void report(const char *what, const std::vector<uint8_t> &bytes) {
    fprintf(stderr, "%9.3f  %s", static_cast<double>(nowUs()) / kUsPerS, what);
    for (const uint8_t byte : bytes)
        fprintf(stderr, " %02X", byte);
    fprintf(stderr, "\n");
}

/// Let time pass and show what the camera answers.
static void listenUntil(int64_t deadlineUs) {
    while (isEndAsked == 0 && nowUs() < deadlineUs) {
        if (waitCameraSent(std::min(deadlineUs, nowUs() + kReadAgainUs)))
            report("camera answers   ", cameraSent());
    }
}

static void perform(const ScriptEvent &event) {
    if (event.bytes.empty()) {
        setObjectDistanceM(event.distanceM);
        fprintf(stderr, "%9.3f  object at %g m\n", static_cast<double>(nowUs()) / kUsPerS,
                event.distanceM);
    } else {
        report("controller sends ", event.bytes);
        controllerSends(event.bytes);
    }
}

static void playRun() {
    for (const ScriptEvent &event : run.script) {
        listenUntil(event.timeUs);
        if (isEndAsked != 0)
            return;
        perform(event);
    }
    listenUntil(run.endUs);
    if (isEndAsked == 0 && askHostToEnd())
        listenUntil(nowUs() + kGraceUs);
}

} // namespace vcam

// Exported, so that it has a name in the trace.
#pragma GCC visibility push(default)
extern "C" void *controllerThread(void *) {
    vcam::playRun();
    vcam::endRunNow();
    return nullptr;
}
#pragma GCC visibility pop

namespace vcam {

bool startController(const RunSettings &settings, void (*endRun)()) {
    run = settings;
    endRunNow = endRun;
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before); // signals are for the host's threads
    pthread_t thread;
    const int result = startThread(&thread, nullptr, controllerThread, nullptr, nextCreate);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (result == 0)
        pthread_detach(thread);
    return result == 0;
}

} // namespace vcam
