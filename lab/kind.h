// A kind of experiment: what one run of it is, and the columns of the row that it leaves.
//
// Runs are numbered from 0. A unit, one camera with its own seed, makes runsPerUnit of them one
// after the other, so that a run's row depends on its number, its cell and nothing else: neither on
// how many cameras play at once nor on the machine. Whoever wants one row plays its whole unit.
#pragma once

#include <string>
#include <vector>

#include "camera_options.h"
#include "cell.h"
#include "row_text.h"

namespace lab {

struct Column {
    const char *name;
    const char *type; ///< INTEGER, REAL or TEXT.
};

struct Kind {
    const char *name;
    const char *meaning;
    int runsPerUnit;
    std::vector<Column> columns;
    /// What has to be known of the unit before its camera is powered on, in the same process; may
    /// fork cameras of its own. May be nullptr.
    void (*prepareUnit)(const Cell &cell, const vcam::CameraOptions &camera);
    /// All runs of a unit; the camera is powered on, the library not started.
    std::vector<RowText> (*playUnit)(const Cell &cell, const vcam::CameraOptions &camera,
                                     long unit);
};

const std::vector<Kind> &allKinds();

/// What a unit's camera is made of before the cell's options are put on top: a seed of its own,
/// both lens models in turn.
vcam::CameraOptions makeUnit(long unit);

/// nullptr: there is none of that name.
const Kind *findKind(const std::string &name);

} // namespace lab
