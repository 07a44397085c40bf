// "lab show": one run, frame by frame, from the trace of its unit.
#pragma once

#include <string>

#include "cell.h"

namespace lab {

/// Play the unit of a run again and tell what each frame of the run saw. The unit's whole trace
/// stays in @p traceFile, and beside it, of one of the library's own searches, a session for the
/// page in which lens and object are put where they were. EXIT_SUCCESS when the run was played.
int showRun(const Cell &cell, long run, const std::string &traceFile);

} // namespace lab
