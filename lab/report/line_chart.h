// Curves over places that they share, on a scale of their own.
#pragma once

#include <string>

#include "kind_tables.h"
#include "report/svg.h"

namespace lab {

/// @p up: what the values are. With @p isLogarithmic a step up is a factor.
Drawing drawCurves(const Figures &figures, const std::string &up, bool isLogarithmic);

} // namespace lab
