// The zoom grid: 16 tag points, and four quarters in each section between them.
#pragma once

#include "autofocus/focus_lines.h"

static const int kTagPoints = 16;
static const int kQuarters = 4;
static const int kTeleTag = kTagPoints - 1; ///< The tele end, which has quarter 0 only.

extern "C" {

/// Build the 16 tag points from the wide limit; says so when they do not end on the tele limit.
void Lens_Init_ZoomStep(void);
}

/// Zoom steps in the section that begins at tag point @p index1, 0 to 14.
inline unsigned int sectionLength(int index1) {
    return ZM_Step_Run[index1 + 1] - ZM_Step_Run[index1];
}

inline unsigned int quarterLength(int index1) {
    return sectionLength(index1) >> 2;
}

/// Where the zoom stands between two points of the grid.
struct GridPlace {
    unsigned int point;   ///< Quarter point at or below, counted over the whole grid.
    unsigned int way;     ///< Zoom steps from there,
    unsigned int quarter; ///< of so many to the next one.
};

/// @return false outside the grid.
bool findGridPlace(GridPlace *place);

/// The number of the section that holds @p zp, 15 for the tele end exactly, -1 for none.
int findZoomSection(unsigned int zp);
