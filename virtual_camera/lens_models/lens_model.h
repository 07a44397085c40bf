// The lens models that a camera can have, a row each: how far the axes travel, how the motors and
// the photo-interrupters are wired, where the lens is in focus.
#pragma once

#include "lens_models/curve_table.h"

#include <string>

namespace vcam {

/// Position of the mechanical wide or near end, in steps.
constexpr int kTravelStart = 10000;

struct AxisModel {
    int travel;           ///< Steps from kTravelStart to the other end.
    int edge;             ///< Lowest step on the upper side of the photo-interrupter's edge.
    int levelAboveEdge;   ///< What the sensor reads there.
    int directionWhenSet; ///< +1 or -1: where a set direction bit of the driver moves the axis.
};

struct LensModel {
    int lensType; ///< Its LENS_ number.
    const char *name;
    AxisModel axes[2];           ///< Zoom, focus.
    int gridStart;               ///< Zoom position of the first point of the curves' grid.
    const CurveTable *infinity;  ///< Best focus for an object at infinity,
    const CurveTable *twoMetres; ///< and at 2 m.
};

/// The model of a lens type: 0 is A, 1 is B, and so is every other number that has no row.
const LensModel &lensModelOf(int lensType);

/// False when no model has this name.
bool findLensType(const std::string &name, int &lensType);

/// What a lens may be called, as part of a sentence: "A or B".
std::string nameLensModels();

} // namespace vcam
