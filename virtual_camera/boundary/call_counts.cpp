#include "boundary/call_counts.h"

#include "clock/thread_table.h"
#include "clock/unobserved.h"

#include <utility>

namespace vcam {

static bool isCounting;
static std::string countedThread; // empty: everybody's calls
static CallCounts counts;

void countCallsOf(const char *threadName) {
    const Unobserved unobserved;
    isCounting = true;
    countedThread = threadName;
    counts.clear();
}

CallCounts takeCallCounts() {
    const Unobserved unobserved;
    isCounting = false;
    return std::exchange(counts, {});
}

void noteCall(const char *call, const char *subject) {
    if (!isCounting)
        return;
    if (!countedThread.empty() && countedThread != currentThread->name)
        return;
    const Unobserved unobserved;
    counts[*subject == '\0' ? std::string(call) : std::string(call) + " " + subject]++;
}

} // namespace vcam
