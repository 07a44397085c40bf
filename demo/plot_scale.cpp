#include "plot_scale.h"

#include <initializer_list>

namespace demo {

static constexpr int kTicks = 6;

static double roundTick(double span) {
    const double raw = span / kTicks;
    const double power = std::pow(10, std::floor(std::log10(raw)));
    for (double factor : {1.0, 2.0, 5.0})
        if (raw <= factor * power)
            return factor * power;
    return 10 * power;
}

Scale makeScale(Range range, double fromPixel, double toPixel) {
    if (range.low > range.high)
        range = {0, 1};
    if (range.low == range.high)
        range.high += 1;
    return {range.low, range.high, roundTick(range.high - range.low), fromPixel, toPixel};
}

Scale padToTicks(Scale scale) {
    scale.low = std::floor(scale.low / scale.tick) * scale.tick;
    scale.high = std::ceil(scale.high / scale.tick) * scale.tick;
    return scale;
}

} // namespace demo
