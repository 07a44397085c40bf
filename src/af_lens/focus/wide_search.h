// The search for a picture that is far out of focus.
#pragma once

/// Results of GreatlyOutOfFocus().
enum WideSearchResult {
    kWideGaveUp = -1,
    kWideNotNeeded = 0,
    kWideInterrupted = 1,
    kWidePeakFound = 2,
};
