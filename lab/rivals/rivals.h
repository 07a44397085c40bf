// Searches that others have published, as a measure for the library's own. Each drives the lens
// from where it stands to where it believes the peak, and gives no verdict. None of them is tuned:
// what a description leaves open is chosen by the half depth of focus and stands here.
#pragma once

#include "rivals/rival_lens.h"

namespace lab {

/// Every half depth of the range once, one frame each; the vertex of a parabola through the highest
/// sample and its neighbours.
void scanFully(RivalLens &lens);

/// Golden-section search (J. Kiefer, "Sequential minimax search for a maximum", 1953) over the
/// range, one frame a look, until the interval is a half depth wide.
void searchByGoldenSection(RivalLens &lens);

/// Climb in steps of eight half depths until the value falls, turning round where the first step
/// falls or the range ends; back in steps of one until it falls again; a parabola through the top.
/// The usual refinement of hill climbing ("mountain climbing servo", K. Ooi et al., 1990).
void climbHill(RivalLens &lens);

/// Ten positions over the range, five frames each, then ten over the two sections about the
/// highest, until they are a half depth apart.
void scanCoarseToFine(RivalLens &lens);

/// Planted: goes to the lowest of ten positions. A table that does not rank it last is wrong.
void seekBlur(RivalLens &lens);

} // namespace lab
