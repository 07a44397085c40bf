#include "host/lens_watch.h"

#include <algorithm>

#include "autofocus/lens_state.h"
#include "autofocus/mailbox.h"
#include "autofocus/statistics.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"
#include "devices/lens.h"
#include "platform/shared_word.h"

namespace vcam {

static constexpr int64_t kQuietUs = 2000000;

void command(AF_CMD_em code, unsigned value) {
    Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
    storeWord(&record->shValue, value);
    storeWord(&record->shCommand, static_cast<unsigned>(code));
}

bool isIdle() {
    return Lens_Get_Command() == CMD_NONE && loadWord(&g_AutoCheckFlag) == 1;
}

bool isStanding() {
    const unsigned held = Lens_Get_Command();
    return held == CMD_FSTOP || held == CMD_MFMODE || held == CMD_AFMODE || held >= CMD_NONE;
}

bool awaitUntil(const std::function<bool()> &isDone, int64_t limitUs, int64_t lookUs) {
    const int64_t endUs = nowUs() + limitUs;
    while (!isDone()) {
        if (nowUs() >= endUs)
            return false;
        sleepUs(lookUs);
    }
    return true;
}

bool awaitSettled(int64_t limitUs, int64_t lookUs, const std::function<void()> &watch) {
    const int64_t endUs = nowUs() + limitUs;
    int64_t busyUs = nowUs();
    while (nowUs() < busyUs + kQuietUs) {
        if (nowUs() >= endUs)
            return false;
        sleepUs(lookUs);
        watch();
        busyUs = isStanding() ? std::max(busyUs, vdEndUs()) : nowUs();
    }
    return true;
}

static bool isCounterTrue(Axis axis, unsigned counter) {
    return static_cast<int>(counter) == truePosition(axis);
}

bool areCountersTrue() {
    unsigned zoom = 0;
    unsigned focus = 0;
    Lens_Get_Location(&zoom, &focus);
    return isCounterTrue(Axis::Zoom, zoom) && isCounterTrue(Axis::Focus, focus);
}

std::vector<std::string> findUnsound() {
    std::vector<std::string> complaints = violations();
    if (!areCountersTrue())
        complaints.push_back("counted at zoom " + std::to_string(loadWord(&ZM_Step_Local)) +
                             " focus " + std::to_string(loadWord(&FM_Step_Local)) +
                             ", truly at zoom " + std::to_string(truePosition(Axis::Zoom)) +
                             " focus " + std::to_string(truePosition(Axis::Focus)));
    const long lost = lostSteps(Axis::Zoom) + lostSteps(Axis::Focus);
    if (lost != 0)
        complaints.push_back(std::to_string(lost) + " steps lost");
    return complaints;
}

} // namespace vcam
