// The charts of a report.
#pragma once

#include <string>
#include <vector>

#include "cell.h"
#include "report/findings.h"
#include "report/svg.h"

namespace lab {

/// Conditions of which the cells have several values while all else is the same.
std::vector<std::string> listVaried(const std::vector<CellFindings> &all);

/// Share within one half depth over the values of a condition: a line for each set of cells that
/// differ in nothing else but the light, with the 95 % intervals.
Drawing drawSuccess(const std::vector<CellFindings> &all, const std::string &condition);

/// How many frames the runs of each cell took: the middle half, the range from 5 to 95 %, the most.
/// Where there are many cells, those without special conditions.
Drawing drawFrames(const std::vector<CellFindings> &cells);

/// Share of runs within one half depth by zoom and distance.
Drawing drawMap(const CellFindings &findings, const Settings &common);

} // namespace lab
