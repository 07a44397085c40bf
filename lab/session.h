// A run of a unit as a session that the page plays: the same camera, and lens and object put where
// they were for each of the unit's runs up to this one. What the page's camera is told comes at its
// ticks of 10 ms, some milliseconds from where it came in the lab: most runs end at the same step,
// the others a few steps aside.
#pragma once

#include <string>

#include "cell.h"

namespace lab {

/// What happened to a unit, from its trace and its rows.
struct UnitRun {
    long run;
    std::string place; ///< "ZOOM FOCUS near|far wide|tele".
    double dioptres;
    double orderedMs;
    double ms; ///< Until its end.
};

/// The session's text; the last of @p runs is what it is made for.
std::string spellSession(const Cell &cell, long unit, const std::vector<UnitRun> &runs);

} // namespace lab
