// The lens models, a row each: how far the axes travel, how motors and photo-interrupters are
// wired. A new model is a row here, a name among the LENS_ numbers of autofocus.h, and a row of the
// virtual camera's own table.
#pragma once

#include "autofocus/types.h"

/// Steps are motor steps; "below" is toward wide or near, "above" toward tele or far.
struct LensAxisModel {
    unsigned short rangeBelowEdge; ///< From the photo-interrupter's edge to the end of the travel.
    unsigned short rangeAboveEdge;
    unsigned short marginBelow; ///< Kept free before that end.
    unsigned short marginAbove;
    MS_Action_em setBitMoves; ///< Where the driver's direction bit, when set, moves the axis.
    MS_Action_em edgeWhenSet; ///< Where the edge is while the photo-interrupter reads non-zero.
};

struct LensModel {
    LensAxisModel zoom;
    LensAxisModel focus;
};

/// The row of @p lensType, a value of g_LensType; every value without a row is LENS_B's.
const LensModel &lensModelOf(int lensType);
