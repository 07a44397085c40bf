// Plain state, read by the optics at every frame and set by whichever thread plays the world.
#include "optics/scene.h"

#include "clock/trace.h"
#include "optics/optical_model.h"

namespace vcam {

static double distanceNowM = HUGE_VAL;
static bool isNightNow = false;

void setObjectDistanceM(double distanceM) {
    distanceNowM = distanceM;
    trace("scene", "distance", "metres=%g", distanceM);
}

double objectDistanceM() {
    return distanceNowM;
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
    distanceNowM = options.objectDistanceM;
    isNightNow = options.night;
}

} // namespace vcam
