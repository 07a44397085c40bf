// Plain state, read by the devices and the optics, set by whichever thread plays the world.
#include "flaws/flaws.h"

#include <cmath>

#include "clock/trace.h"

namespace vcam {

static constexpr double kPi = 3.14159265358979323846;
static constexpr double kUsPerS = 1e6;

static Flaws present;

const Flaws &flaws() {
    return present;
}

void powerOnFlaws(const Flaws &flaws) {
    present = flaws;
}

void setFlaws(const Flaws &flaws) {
    present = flaws;
    trace("scene", "flaws",
          "backlash=%d/%d delay=%d exposure=%g slip=%g flicker=%g@%g brightness=%g contrast=%g "
          "second=%g approach=%g drift=%g",
          flaws.backlashZoom, flaws.backlashFocus, flaws.delay, flaws.exposure, flaws.slip,
          flaws.flicker, flaws.flickerHz, flaws.brightness, flaws.contrast, flaws.secondDistanceM,
          flaws.approach, flaws.drift);
}

double lightAt(int64_t timeUs) {
    if (present.flicker == 0)
        return present.brightness;
    const double phase = 2 * kPi * present.flickerHz * static_cast<double>(timeUs) / kUsPerS;
    return present.brightness * (1 + present.flicker * std::sin(phase));
}

} // namespace vcam
