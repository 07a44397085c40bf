// Finding home: each axis's photo-interrupter edge, to one step and always from the same side.
#pragma once

extern "C" {

/// Search both edges without touching the counters; 0, or -1 when a pass failed.
int Lens_Search_PI(void);
}

/// Lens_Check_PIPosition(), and once more if it fails; false when both failed.
bool checkPiTwice();

/// Find home and go to the wide limit with the focus on the infinity line, found or not; both
/// positions are stored and published.
void parkAtWide();

/// Searches since load that did not find home. The thread that drives the motors.
unsigned int countFailedSearches();

/// Another one, which could not even begin.
void noteFailedSearch();

/// Find home, and go back to where the counters say that the lens was.
/// @return false when home was not found, nothing else moved then.
bool regainPosition();

/// Steps by which the last search found each counter short of the truth; 0 until home was found
/// twice. A search that failed in between makes them the loss since it began. Any thread.
int lostZoomSteps();
int lostFocusSteps();
