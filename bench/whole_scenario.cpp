// How many virtual seconds a second of processor time a whole scenario gets: boot, first autofocus,
// zoom to the tele end, autofocus, back to wide, autofocus. On one core, trace written, nothing
// rendered.
//
// Each run is a process of its own, as the library's state is global. It plays the story once cold,
// power-on included, and then repeats its zooming with the optics' tables filled. The median over
// seeds counts: they differ in where the lens starts and how far it is off.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

#include "camera_options.h"
#include "story.h"

#include "camera.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"

namespace {

// Asked of contexts; where there are none, and of kernel threads, a third of it.
constexpr double kRequiredCold = 3000;
constexpr double kRequiredWarm = 9000;
constexpr double kRequiredIdle = 20000;
constexpr int64_t kIdleUs = 600000000;
constexpr int kSeeds = 15;
constexpr int kWarmRounds = 20;
constexpr double kUsPerS = 1e6;

/// What a span of a run took.
struct Span {
    double virtualS;
    double processorS;

    double ratio() const { return virtualS / processorS; }
};

struct Result {
    Span cold;
    Span warm;
    Span idle;
};

/// Of the whole process, by the system: a machine that is busy otherwise costs less of it than of
/// real time.
double processorS() {
    timespec now = {};
    syscall(SYS_clock_gettime, CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

class Stopwatch {
public:
    Span stop() const {
        return {static_cast<double>(vcam::nowUs() - virtualStartUs) / kUsPerS,
                processorS() - processorStart};
    }

private:
    double processorStart = processorS();
    int64_t virtualStartUs = vcam::nowUs();
};

void zoomThereAndBack() {
    bench::zoomToTele();
    bench::awaitFocus();
    bench::zoomToWide();
    bench::awaitFocus();
}

Result play(const vcam::CameraOptions &options) {
    Result result;
    const double startS = processorS();
    bench::boot(options);
    zoomThereAndBack();
    vcam::flushTrace();
    result.cold = {static_cast<double>(vcam::nowUs()) / kUsPerS, processorS() - startS};

    const Stopwatch stopwatch;
    for (int round = 0; round < kWarmRounds; ++round)
        zoomThereAndBack();
    vcam::flushTrace();
    result.warm = stopwatch.stop();

    const Stopwatch idling;
    vcam::sleepUs(kIdleUs);
    vcam::flushTrace();
    result.idle = idling.stop();
    return result;
}

/// In a process of its own, which hands its result over by a pipe.
Result playApart(uint64_t seed, bool onKernelThreads) {
    vcam::CameraOptions options;
    options.seed = seed;
    options.kernelThreads = onKernelThreads;
    options.traceFile = "/tmp/whole_scenario." + std::to_string(getpid()) + ".txt";
    int ends[2];
    if (pipe(ends) != 0)
        bench::giveUp("no pipe");
    const pid_t child = fork();
    if (child == 0) {
        const Result result = play(options);
        const bool isHandedOver = write(ends[1], &result, sizeof result) == sizeof result;
        const bool isTraced = vcam::powerOff();
        _exit(isHandedOver && isTraced ? EXIT_SUCCESS : EXIT_FAILURE);
    }
    close(ends[1]);
    Result result;
    int status = 0;
    const bool isRead = read(ends[0], &result, sizeof result) == sizeof result;
    close(ends[0]);
    waitpid(child, &status, 0);
    unlink(options.traceFile.c_str());
    if (!isRead || status != 0)
        bench::giveUp("a run failed");
    return result;
}

Span medianOf(std::vector<Span> spans) {
    const auto middle = spans.begin() + static_cast<std::ptrdiff_t>(spans.size() / 2);
    std::nth_element(spans.begin(), middle, spans.end(),
                     [](const Span &a, const Span &b) { return a.ratio() < b.ratio(); });
    return *middle;
}

void print(const char *what, const Span &span, double required) {
    printf("%-60s %8.2f %9.2f %9.0f %9.0f %7.2f\n", what, span.virtualS, span.processorS * 1e3,
           span.ratio(), required, span.ratio() / required);
}

/// The ratio of the repeated zooming.
double report(const char *way, bool onKernelThreads) {
    std::vector<Span> cold;
    std::vector<Span> warm;
    std::vector<Span> idle;
    for (uint64_t seed = 1; seed <= kSeeds; ++seed) {
        const Result result = playApart(seed, onKernelThreads);
        cold.push_back(result.cold);
        warm.push_back(result.warm);
        idle.push_back(result.idle);
    }
    const double share = onKernelThreads ? 1.0 / 3 : 1;
    printf("%s\n", way);
    print("  power-on, boot, autofocus, tele, autofocus, wide, autofocus", medianOf(cold),
          kRequiredCold * share);
    print("  then 20 times: tele, autofocus, wide, autofocus", medianOf(warm),
          kRequiredWarm * share);
    print("  then idle for ten minutes", medianOf(idle), kRequiredIdle * share);
    return medianOf(warm).ratio();
}

} // namespace

int main(int argc, char **argv) {
    bench::takeNoWords(argc, argv, "how many virtual seconds a processor second gets");
    printf("Whole scenario, one core, median of %d seeds, trace written, no pictures rendered\n",
           kSeeds);
    printf("%-60s %8s %9s %9s %9s %7s\n", "", "virtual", "processor", "virtual s", "required",
           "ratio");
    printf("%-60s %8s %9s %9s %9s %7s\n", "", "s", "ms", "per s", "", "");
    const double onContexts = report("on contexts, where there are any", false);
    const double onKernelThreads = report("on kernel threads", true);
    printf("contexts against kernel threads: %.2f times\n", onContexts / onKernelThreads);
    return bench::closeReport();
}
