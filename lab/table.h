// The table of the cells of an experiment "focus", for a terminal.
#pragma once

#include <vector>

#include "statistics.h"
#include "store.h"

namespace lab {

/// What a cell comes to.
struct FocusFigures {
    std::string cell;
    Share within;  ///< Within one half depth of focus.
    Share wrong;   ///< Called focused but more than two half depths off, of those called focused.
    Share refused; ///< Within one half depth but not called focused, of those within.
    double frames[3] = {}; ///< Median, 95 %, most.
    double samples[3] = {};
    double farOut = 0; ///< Percent that began where the picture shows next to nothing.
    long judged = 0;   ///< Runs that ended with a verdict.
    long broken = 0;   ///< Never ended.
};

FocusFigures sumUpFocus(Store &store, long experiment, const std::string &cell, long runs);

void printFocusTable(const std::vector<FocusFigures> &rows);

} // namespace lab
