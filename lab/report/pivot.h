// The cells at a glance: a row a condition, a column a search, by day and by night in one field.
#pragma once

#include <string>
#include <vector>

#include "report/findings.h"

namespace lab {

struct Pivot {
    std::vector<std::string> searches;
    struct Row {
        std::string condition;
        std::vector<std::string> fields; ///< By search; empty where nothing was played.
    };
    std::vector<Row> rows;
};

/// Percent within one half depth, "day / night".
Pivot pivotSuccess(const std::vector<CellFindings> &all);

/// Frames, median and 95 %, "day / night": "39-55 / 31-80".
Pivot pivotFrames(const std::vector<CellFindings> &all);

/// As a table of a document.
std::string asMarkdown(const Pivot &pivot, const std::string &corner);

} // namespace lab
