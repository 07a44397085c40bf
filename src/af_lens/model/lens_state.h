// Where the lens is: geometry, limits, step levels and the two position counters.
//
// There is no encoder. The counters follow the steps that were commanded since the
// photo-interrupter edges were found. The thread that drives the motors writes them; the statistics
// thread and a host that sets a preset read them, hence the accessors.
#pragma once

#include "autofocus/lens_state.h" // IWYU pragma: export

extern "C" {

/// Geometry and step levels of g_LensType; forgets a manual-focus return point.
void Lens_Init_GlobalVariable(void);
}

unsigned int zoomPosition();
unsigned int focusPosition();
void setPosition(unsigned int zoom, unsigned int focus);

/// Whether start-up has set the limits.
bool areLimitsKnown();

/// Whether the counters may be kept for later: not while recovery is on and they are doubtful.
bool isPositionWorthKeeping();

/// A position moved into the travel, where the travel is known; called before start-up as it is.
unsigned int keepZoomInTravel(unsigned int zoom);
unsigned int keepFocusInTravel(unsigned int focus);

bool isInsideLimits(unsigned int zoom, unsigned int focus);
