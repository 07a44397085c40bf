// The settings words: written by host threads, read by the library's. Each store stands alone; no
// rule spans two of them.
#pragma once

#include "autofocus/settings.h" // IWYU pragma: export

static const int kIcutNight = 1; ///< Value of g_ICUTState with the IR-cut filter removed.
static const int kIcutDay = 0;

static const int kSensorSingledOut = 1; ///< Value of g_SensType with tables of its own.
