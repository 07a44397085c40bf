// "lab chunk": rows on standard output and nothing else, for whoever gathers them.
#pragma once

#include <string>

#include "cell.h"
#include "kind.h"

namespace lab {

/// A first line that says what the rows are, then rows @p first to @p first + @p count - 1 of a
/// cell. EXIT_SUCCESS when all of them were printed.
int printChunk(const Kind &kind, const Cell &cell, long first, long count,
               const std::string &commit);

/// The first line: "# focus search=built-in noise=4 built 1a2b3c4".
std::string headOf(const Kind &kind, const Cell &cell, const std::string &commit);

} // namespace lab
