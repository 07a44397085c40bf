// Cells played into a store: what is missing there, on all processors, until it is done or somebody
// interrupts.
#pragma once

#include <string>
#include <vector>

#include "cell.h"
#include "kind.h"
#include "store.h"

namespace lab {

struct Plan {
    const Kind *kind = nullptr;
    std::vector<Cell> cells;
    long runs = 0;
    std::string commit; ///< Who built the program: rows of two builds do not mix.
};

/// How an experiment ended.
enum class Ending { Whole, Interrupted, Broken };

/// Interrupted from the keyboard it keeps what has come to an end; a second interrupt ends the
/// process at once. @p experiments gets the numbers of the cells' experiments.
Ending play(const Plan &plan, Store &store, std::vector<long> &experiments);

} // namespace lab
