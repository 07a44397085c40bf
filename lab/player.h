// Units played in processes of their own, on all processors, and their rows handed back.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "cell.h"
#include "kind.h"
#include "row_text.h"

namespace lab {

/// A unit's rows; empty: it has not come to its end.
using TakeRows = std::function<void(long unit, const std::vector<RowText> &rows)>;

/// Asked several times a second; true: begin no further unit.
using IsOver = std::function<bool()>;

/// Play @p units on all processors. @p take is called in this process, in whichever order units
/// end. Children hold nothing of the caller's open but standard streams and must not touch it.
void playUnits(const Kind &kind, const Cell &cell, const std::vector<long> &units,
               const TakeRows &take, const IsOver &isOver);

/// One unit, in a process of its own; empty when it has not come to its end. Its trace goes to
/// @p traceFile, if that has a name.
std::vector<RowText> playUnitApart(const Kind &kind, const Cell &cell, long unit,
                                   const std::string &traceFile = "");

} // namespace lab
