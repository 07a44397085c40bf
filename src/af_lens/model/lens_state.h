// Where the lens is: geometry, limits, step levels and the two position counters.
//
// There is no encoder. The counters follow the steps that were commanded since the
// photo-interrupter edges were found. The thread that drives the motors writes them; the statistics
// thread and a host that sets a preset read them, hence the accessors.
#pragma once

#include "autofocus/lens_state.h" // IWYU pragma: export
#include "platform/arithmetic.h"
#include "platform/shared_word.h"

extern "C" {

/// Geometry and step levels of g_LensType; forgets a manual-focus return point.
void Lens_Init_GlobalVariable(void);
}

inline unsigned int zoomPosition() {
    return loadWord(&ZM_Step_Local);
}

inline unsigned int focusPosition() {
    return loadWord(&FM_Step_Local);
}

inline void setPosition(unsigned int zoom, unsigned int focus) {
    storeWord(&ZM_Step_Local, zoom);
    storeWord(&FM_Step_Local, focus);
}

/// Whether start-up has set the limits.
inline bool areLimitsKnown() {
    return ZM_Tele_Limit != 0 && FM_Far_Limit != 0;
}

/// Whether the counters may be kept for later: not while recovery is on and they are doubtful.
bool isPositionWorthKeeping();

/// A position moved into the travel, where the travel is known; called before start-up as it is.
inline unsigned int keepInTravel(unsigned int position, unsigned int low, unsigned int high) {
    return high == 0 ? position : clampBetween(low, position, high);
}

inline bool isInsideLimits(unsigned int zoom, unsigned int focus) {
    const bool zoomInside = zoom >= ZM_Wide_Limit && zoom <= ZM_Tele_Limit;
    const bool focusInside = focus >= FM_Near_Limit && focus <= FM_Far_Limit;
    return zoomInside && focusInside;
}
