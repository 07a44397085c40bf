// The in-focus curves over the zoom grid and the quarter steps that zoom tracking takes from them.
//
// Built on the start-up thread, rebuilt on the thread that drives the motors. Tracking follows the
// line that g_FLineFlag selects.
#pragma once

#include "af_lens/model/zoom_grid.h"
#include "autofocus/focus_lines.h" // IWYU pragma: export
#include "autofocus/types.h"

/// Values of g_FLineFlag; any other selects the infinity line with quarter steps of 0.
enum FocusLineFlag { kLineInfinity = 0, kLine2M = 1, kLineBetween = 2 };

/// Rows above it are nearly straight: a line gives their column 0 and the quarters follow.
static const int kFirstFullRow = 7;

/// How a line runs from row to row there: built-in ones fall, a measured one may rise as well.
enum LineCourse { kFalls, kMayRise };

/// Fill columns 1 to 3 of those rows. Of a remainder one step goes to the third quarter, the rest
/// is left to the last.
void fillQuarters(FLine_Tagposition_ST *line, LineCourse course);

/// How far the 2 m line lies behind the infinity line at each grid point, by the built-in ones;
/// null while the infinity line is the built-in one.
const unsigned int (*measureSeparations())[kQuarters];

/// Have tracking follow the line that lies @p ratio of @p separations behind the infinity line.
void followLineBehind(const unsigned int (*separations)[kQuarters], float ratio);

/// Choose the line that a zoom toward @p zType follows: toward tele infinity, toward wide the one
/// on which the focus stands; false, and no choice, outside the grid.
bool chooseLineToward(MS_Action_em zType);
