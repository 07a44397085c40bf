// Rows as text: the same on every machine.
#pragma once

#include <cmath>
#include <string>
#include <vector>

namespace lab {

/// Values by column, the run's number first, with commas between.
using RowText = std::string;

/// What is left of a number when its last bits differ from one mathematical library to the next;
/// never "-0".
inline double roundTo(double value, double unit) {
    const double rounded = std::round(value / unit) * unit;
    return rounded == 0 ? 0 : rounded;
}

} // namespace lab
