// The axes of a chart: which data they cover, and where on the page a value lies.
#pragma once

#include <cmath>

namespace demo {

/// What an axis has to show; empty until the first value.
struct Range {
    double low = HUGE_VAL;
    double high = -HUGE_VAL;

    void include(double value) {
        low = std::fmin(low, value);
        high = std::fmax(high, value);
    }
};

/// One axis: data range onto pixels, with round tick values.
struct Scale {
    double low;
    double high;
    double tick;
    double fromPixel;
    double toPixel;

    double place(double value) const {
        return fromPixel + (value - low) / (high - low) * (toPixel - fromPixel);
    }
};

/// An empty range becomes 0 to 1, a single value the unit that it begins.
Scale makeScale(Range range, double fromPixel, double toPixel);

/// Ends on ticks.
Scale padToTicks(Scale scale);

} // namespace demo
