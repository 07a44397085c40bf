// Cells by the grid: every search under every combination of the conditions that somebody asks for.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "cell.h"

namespace lab {

/// A condition's name, or "scene", and the values that it is to take, one after the other.
using Axis = std::pair<std::string, std::vector<std::string>>;

/// "1,4" as its parts.
std::vector<std::string> splitList(const std::string &list);

/// The first axis varies slowest; equal cells stand once. Empty, or what is wrong with a value.
std::string makeCells(const std::vector<std::string> &searches, const std::vector<Axis> &axes,
                      std::vector<Cell> &cells);

} // namespace lab
