// The search for a picture that is far out of focus.
#pragma once

#include "autofocus_service.h"

/// Results of GreatlyOutOfFocus().
enum WideSearchResult {
    kWideGaveUp = -1,
    kWideNotNeeded = 0,
    kWideInterrupted = 1,
    kWidePeakFound = 2,
};
