// Tables for a terminal of the experiments other than "focus", and of the verdicts.
#pragma once

#include <string>
#include <vector>

#include "store.h"

namespace lab {

/// An experiment in the store, and how many of its first runs count.
struct Played {
    long experiment;
    std::string cell;
    long runs;
};

void printStill(Store &store, const std::vector<Played> &cells);
void printChange(Store &store, const std::vector<Played> &cells);
void printDrift(Store &store, const std::vector<Played> &cells);
void printTracking(Store &store, const std::vector<Played> &cells);

/// The verdicts of experiments "focus" against the truth, a row a cell, and all together.
void printVerdicts(Store &store, const std::vector<Played> &cells);

} // namespace lab
