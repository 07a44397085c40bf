// The trace of this process so far, read back: what a test or a host of one's own asks of it.
#pragma once

#include "waveform/trace_line.h"

#include <vector>

namespace vcam {

/// All events.
std::vector<TraceLine> events();

/// Those of one device (and kind, if given) from @p fromUs on.
std::vector<TraceLine> events(const std::string &device, const std::string &kind = "",
                              int64_t fromUs = 0);

/// The library's console lines, in order.
std::vector<std::string> consoleLines(int64_t fromUs = 0);

/// The instants of the console lines from @p fromUs on that end with @p text, whatever trace prefix
/// they have.
std::vector<int64_t> whenSaid(const std::string &text, int64_t fromUs = 0);

/// How many lines those are.
int countSaid(const std::string &text, int64_t fromUs = 0);

/// Register writes and VD pulses from @p fromUs on, "24=0430 25=024b VD 25000\n": a period ends a
/// line, and "wait 500000\n" stands wherever time passed beside the periods.
std::string motorText(int64_t fromUs = 0);

/// Steps that a channel, "AB" (zoom) or "CD" (focus), ran from @p fromUs on, one entry a period in
/// which it ran; negative toward wide and near.
std::vector<int> motorRuns(const std::string &channel, int64_t fromUs);

/// motorRuns() as text, equal ones in a row as "4x128 ".
std::string runText(const std::string &channel, int64_t fromUs);

} // namespace vcam
