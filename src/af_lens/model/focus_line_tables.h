// Built-in focus lines: the infinity line's anchors and five compressed 2 m lines a sensor.
//
// Only the anchors are kept; columns 1 to 3 of rows 0 to 6 follow from them by the quarter rule.
#pragma once

static const int kAnchorRows = 8;       ///< Rows whose column 0 the line gives first.
static const int kFullRowsEntries = 32; ///< From [7][1] to [15][0], in row order.
static const int kGroups = 5;
static const int kGroupValues = 40; ///< Column 0 of rows 0 to 6, rows 7 to 14, [15][0].

/// The built-in infinity line of one sensor variant.
struct InfinityAnchors {
    unsigned short firstColumn[kAnchorRows];
    unsigned short fullRows[kFullRowsEntries];
};

extern const InfinityAnchors kInfinitySensor1;
extern const InfinityAnchors kInfinityOtherSensors;

/// Infinity focus at the wide end of the units on which each 2 m group was measured.
extern const unsigned short kGroupReferenceSensor1[kGroups];
extern const unsigned short kGroupReferenceOtherSensors[kGroups];
