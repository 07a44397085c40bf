#include "boundary/call_counts.h"

#include "clock/thread_table.h"
#include "clock/unobserved.h"

#include <cstring>
#include <utility>

namespace vcam {

static std::string countedThread; // empty: nobody's calls
static CallCounts counts;

void countCallsOf(const char *threadName) {
    const Unobserved unobserved;
    countedThread = threadName;
    counts.clear();
}

CallCounts takeCallCounts() {
    const Unobserved unobserved;
    countedThread.clear();
    return std::exchange(counts, {});
}

void noteCall(const char *call, const char *subject) {
    if (countedThread.empty() || strcmp(currentThread->name, countedThread.c_str()) != 0)
        return;
    const Unobserved unobserved;
    counts[*subject == '\0' ? std::string(call) : std::string(call) + " " + subject]++;
}

} // namespace vcam
