// Rows in and out of a store as text, so that other machines can play them: what is missing as a
// list of chunks, rows of chunks taken in, rows given out.
#pragma once

#include <string>
#include <vector>

#include "cell.h"
#include "kind.h"
#include "store.h"

namespace lab {

/// A line for each chunk of which rows are missing among the first @p wanted runs of each cell, its
/// words set apart by tabs: kind, first run, how many, cell. Chunks are of @p about so many runs,
/// in whole units.
void printMissing(Store &store, const Kind &kind, const std::vector<Cell> &cells, long wanted,
                  const std::string &commit, long about);

/// Chunks from standard input, each a head and its rows. Those of another build are refused.
/// EXIT_SUCCESS when all of them are in the store.
int importChunks(Store &store, const std::string &commit);

/// The rows of a cell as a chunk. EXIT_SUCCESS when there are any.
int printStored(Store &store, const Kind &kind, const Cell &cell, const std::string &commit);

} // namespace lab
