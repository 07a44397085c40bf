// What the ISP's focus-statistics engine is told: zone grid, modes and filter coefficients.
#pragma once

#include "platform/isp.h"

/// The whole focus configuration; the caller puts the size of the ISP window in.
ISP_FOCUS_STATISTICS_CFG_S makeFocusConfiguration();
