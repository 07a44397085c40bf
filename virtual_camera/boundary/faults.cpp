#include "boundary/faults.h"

#include "boundary/call_counts.h"
#include "boundary/library_imports.h"
#include "clock/thread_table.h"
#include "clock/trace.h"
#include "clock/unobserved.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace vcam {

namespace {
struct Fault {
    std::string call;
    std::string subject;
    int count;
    int error;
    int passed;
};
} // namespace

static std::vector<Fault> faults;

static const char kLibraryName[] = "libautofocus.so";

static void *allocate(size_t size) {
    return failsNow("malloc", "") ? nullptr : malloc(size);
}

static void *allocateCleared(size_t count, size_t size) {
    return failsNow("calloc", "") ? nullptr : calloc(count, size);
}

/// Memory fails for the library alone. A fault that could never strike is an error in the test.
static void leadMemoryCallsHere(const std::string &call) {
    void *replacement = nullptr;
    if (call == "malloc")
        replacement = reinterpret_cast<void *>(allocate);
    if (call == "calloc")
        replacement = reinterpret_cast<void *>(allocateCleared);
    if (replacement == nullptr || replaceImport(kLibraryName, call.c_str(), replacement))
        return;
    fprintf(stderr, "virtual camera: %s does not call %s\n", kLibraryName, call.c_str());
    abort();
}

void failCalls(const char *call, const char *subject, int count, int error, int passed) {
    const Unobserved unobserved;
    leadMemoryCallsHere(call);
    faults.push_back({call, subject, count, error, passed});
}

void clearFaults() {
    const Unobserved unobserved;
    faults.clear();
}

static bool strikes(Fault &fault, const char *call, const char *subject) {
    const bool isMeant = fault.call == call && (fault.subject.empty() || fault.subject == subject);
    if (!isMeant || fault.count == 0)
        return false;
    if (fault.passed > 0) {
        --fault.passed;
        return false;
    }
    if (fault.count > 0)
        --fault.count;
    return true;
}

bool failsNow(const char *call, const char *subject) {
    if (!isRegisteredThread())
        return false;
    noteCall(call, subject);
    if (faults.empty())
        return false;
    const Unobserved unobserved;
    for (Fault &fault : faults) {
        if (!strikes(fault, call, subject))
            continue;
        trace("fault", call, "subject=%s errno=%d", subject, fault.error);
        errno = fault.error;
        return true;
    }
    return false;
}

} // namespace vcam
