// What the experiments other than "focus" came to, and the verdicts: as tables and curves, for a
// terminal and for a report.
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

/// The first column is a name, the others are numbers.
struct TextTable {
    std::string title;
    std::vector<std::string> heads;
    std::vector<std::vector<std::string>> rows;
};

/// Values at places that all curves of a chart share; NAN: nothing there.
struct Curve {
    std::string name;
    std::vector<double> values;
};

struct Figures {
    std::vector<TextTable> tables;
    std::vector<std::string> places;
    std::vector<Curve> curves;
};

Figures tabulateStill(Store &store, const std::vector<Played> &cells);

/// Curves: percent refocused by the size of the change.
Figures tabulateChange(Store &store, const std::vector<Played> &cells);

Figures tabulateDrift(Store &store, const std::vector<Played> &cells);

/// Curves: median of the worst error in each quarter of the travel and at its end, by direction.
Figures tabulateTracking(Store &store, const std::vector<Played> &cells);

/// The verdicts of experiments "focus" against the truth, a row a cell, and all together.
Figures tabulateVerdicts(Store &store, const std::vector<Played> &cells);

void print(const TextTable &table);

} // namespace lab
