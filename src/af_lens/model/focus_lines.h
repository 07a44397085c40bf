// The in-focus curves over the zoom grid and the quarter steps that zoom tracking takes from them.
//
// Built on the start-up thread, rebuilt on the thread that drives the motors. Tracking follows the
// line that g_FLineFlag selects.
#pragma once

#include "autofocus_service.h"

/// Values of g_FLineFlag; any other selects the infinity line with quarter steps of 0.
enum FocusLineFlag { kLineInfinity = 0, kLine2M = 1, kLineBetween = 2 };
