#include "boundary/faults.h"

#include "boundary/call_counts.h"
#include "boundary/library_imports.h"
#include "clock/seeded_random.h"
#include "clock/thread_table.h"
#include "clock/trace.h"
#include "clock/unobserved.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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
    Strikes when;
};
} // namespace

static std::vector<Fault> faults;

static double randomShare = 0;
static SeededRandom chance(0, 0);

static constexpr uint64_t kPurpose = 0x4C494E4B;
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

void failCalls(const char *call, const char *subject, int count, int error, int passed,
               Strikes when) {
    const Unobserved unobserved;
    leadMemoryCallsHere(call);
    faults.push_back({call, subject, count, error, passed, when});
}

void failLinksAtRandom(double share, uint64_t seed) {
    const Unobserved unobserved;
    randomShare = share;
    chance = SeededRandom(seed, kPurpose);
}

void clearFaults() {
    const Unobserved unobserved;
    faults.clear();
    randomShare = 0;
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

static bool isLinkCall(const char *call, const char *subject) {
    const bool isIoctl = strcmp(call, "ioctl") == 0;
    const bool isOpen = strcmp(call, "open") == 0;
    return (isIoctl || isOpen) && (strcmp(subject, "/dev/hi_gpio") == 0 ||
                                   (isIoctl && strcmp(subject, "/dev/spidev1.0") == 0));
}

static Strikes strikeAtRandom(const char *call, const char *subject) {
    if (!isLinkCall(call, subject) || chance.drawUnit() >= randomShare)
        return Strikes::No;
    return call[0] == 'i' && chance.drawBetween(0, 1) == 0 ? Strikes::After : Strikes::Before;
}

static Strikes tell(const char *call, const char *subject, int error, Strikes when) {
    trace("fault", call, "subject=%s errno=%d%s", subject, error,
          when == Strikes::After ? " after" : "");
    errno = error;
    return when;
}

Strikes strikesNow(const char *call, const char *subject) {
    if (!isRegisteredThread())
        return Strikes::No;
    noteCall(call, subject);
    if (faults.empty() && randomShare <= 0)
        return Strikes::No;
    const Unobserved unobserved;
    for (Fault &fault : faults) {
        if (strikes(fault, call, subject))
            return tell(call, subject, fault.error, fault.when);
    }
    const Strikes when = randomShare > 0 ? strikeAtRandom(call, subject) : Strikes::No;
    return when == Strikes::No ? when : tell(call, subject, EIO, when);
}

bool failsNow(const char *call, const char *subject) {
    return strikesNow(call, subject) != Strikes::No;
}

} // namespace vcam
