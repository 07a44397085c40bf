// What a report is made of: the rows of every cell of an experiment "focus" that one build has
// played, read from the store once.
#pragma once

#include <string>
#include <vector>

#include "cell.h"
#include "store.h"
#include "table.h"

namespace lab {

struct FocusRun {
    long run;
    double zoom;
    double dioptres;
    double startError;
    double error;
    double frames;
    int verdict;
};

struct CellFindings {
    Cell cell;
    FocusFigures figures;
    std::vector<FocusRun> runs;
};

/// Of the build @p commit, or of the one that has entered an experiment last when it is empty;
/// then @p commit says which. In the order of the searches' table, then as they were entered.
std::vector<CellFindings> gatherFindings(Store &store, std::string &commit);

/// A cell's text for people: "built-in, night, noise 4". Conditions that are among @p common go
/// without saying.
std::string describe(const Cell &cell, const Settings &common = {});

/// The conditions that all cells have in common.
Settings findCommon(const std::vector<CellFindings> &all);

} // namespace lab
