// How many system calls a thread makes, or all of them: of the kinds that faults.h lists, by name
// and subject, as "ioctl /dev/hi_gpio".
#pragma once

#include <map>
#include <string>

namespace vcam {

using CallCounts = std::map<std::string, int>;

/// Count from zero the calls of the thread of this name and no other's; "" for everybody's.
void countCallsOf(const char *threadName);

/// Those made since; nothing is counted from here on.
CallCounts takeCallCounts();

/// For the boundary: the calling thread makes such a call.
void noteCall(const char *call, const char *subject);

} // namespace vcam
