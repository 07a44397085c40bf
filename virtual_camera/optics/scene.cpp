// Plain state, read by the optics at every frame and set by whichever thread plays the world.
#include "optics/scene.h"

#include <algorithm>

#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "flaws/flaws.h"
#include "optics/optical_model.h"

namespace vcam {

static constexpr double kMostDioptres = 1 / 1.5;
static constexpr double kUsPerS = 1e6;

static double distanceSetM = HUGE_VAL;
static int64_t setAtUs = 0;
static bool isNightNow = false;

void setObjectDistanceM(double distanceM) {
    distanceSetM = distanceM;
    setAtUs = nowUs();
    trace("scene", "distance", "metres=%g", distanceM);
}

double objectDioptresAt(int64_t timeUs) {
    const double dioptres = 1 / distanceSetM;
    if (flaws().approach == 0)
        return dioptres;
    const double seconds = static_cast<double>(std::max<int64_t>(timeUs - setAtUs, 0)) / kUsPerS;
    return std::clamp(dioptres + flaws().approach * seconds, 0.0, kMostDioptres);
}

double objectDistanceM() {
    return flaws().approach == 0 ? distanceSetM : 1 / objectDioptresAt(nowUs());
}

void setNight(bool isNight) {
    isNightNow = isNight;
    trace("scene", "light", "night=%d", isNight ? 1 : 0);
}

bool isNight() {
    return isNightNow;
}

int exposureGain() {
    return isNightNow ? kOptics.nightGain : 1;
}

void powerOnScene(const CameraOptions &options) {
    distanceSetM = options.objectDistanceM;
    setAtUs = 0;
    isNightNow = options.night;
}

} // namespace vcam
