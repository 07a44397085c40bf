// What the library's inner pieces cost, without the waiting that surrounds them on a camera. The
// virtual camera is linked in for the calls that the library leaves undefined; it stays switched
// off, so clocks and descriptors are the real ones.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <unistd.h>

#include "autofocus/focus_lines.h"
#include "autofocus/mailbox.h"
#include "autofocus/serial_protocol.h"
#include "autofocus/settings.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "platform/shared_word.h"

#include "af_interface/statistics/zone_reduction.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_lens/motion/zoom_tracking.h"
#include "af_ms419xx/registers.h"
#include "af_ms419xx/vd_timing.h"
#include "host/controller_frames.h"
#include "platform/isp.h"
#include "sony/replies/frames.h"
#include "sony/replies/port.h"
#include "sony/replies/visca.h"
#include "unit/built_lens.h"

namespace {

constexpr int kUsualSensor = 2;
Lens_ShaPos_ST record;

constexpr unsigned kInnerPoints = kTelePoint - 1;
unsigned innerPoints[kInnerPoints]; // every quarter point between the ends of the grid

void listInnerPoints() {
    for (unsigned i = 0; i < kInnerPoints; ++i) {
        const unsigned section = (i + 1) / kQuarters;
        innerPoints[i] =
            ZM_Step_Run[section] + (i + 1) % kQuarters * quarterLength(static_cast<int>(section));
    }
}

unsigned nextGridPoint() {
    static unsigned next = 0;
    next = next + 1 < kInnerPoints ? next + 1 : 0;
    return innerPoints[next];
}

// ---- Statistics ----

void reduceZonesOfOneFrame(benchmark::State &state) {
    ISP_FOCUS_STATISTICS_S zones = {};
    uint16_t value = 100;
    for (auto &row : zones.stZoneMetrics)
        for (auto &zone : row)
            zone.u16h1 = zone.u16h2 = zone.u16v1 = zone.u16v2 = zone.u16y = value++;
    AF_Statistics_Info sums = {};
    for (auto _ : state) {
        reduceZones(zones, &sums);
        benchmark::DoNotOptimize(sums);
    }
}

// ---- Tracking ----

void planOneTrackingPeriod(benchmark::State &state) {
    TrackedStep step;
    for (auto _ : state) {
        storeWord(&ZM_Step_Local, nextGridPoint());
        benchmark::DoNotOptimize(planTrackedStep(MS_Z_TELE, &step));
        benchmark::DoNotOptimize(step);
    }
}

void planAndEncodeOneTrackingPeriod(benchmark::State &state) {
    TrackedStep step;
    for (auto _ : state) {
        storeWord(&ZM_Step_Local, nextGridPoint());
        benchmark::DoNotOptimize(planTrackedStep(MS_Z_TELE, &step));
        const unsigned char larger = step.zStep > step.fStep ? step.zStep : step.fStep;
        const auto total = static_cast<unsigned>(PSUMXICNTGet(1, larger));
        const std::array<unsigned, 4> words = {
            encodeStepWord(MS_Z_TELE, step.zStep, LED_DISABLE, g_LensType),
            encodeStepPeriod(total, step.zStep),
            encodeStepWord(step.fType, step.fStep, LED_DISABLE, g_LensType),
            encodeStepPeriod(total, step.fStep),
        };
        benchmark::DoNotOptimize(words);
    }
}

// ---- Map look-ups ----

void lookUpGridIndex(benchmark::State &state) {
    int index1 = 0;
    int index2 = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(Lens_Get_ZoomIndex(&index1, &index2, nextGridPoint()));
}

void mapZoomPosition(benchmark::State &state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(Lens_Map_ZPosition(nextGridPoint()));
}

void mapFocusPosition(benchmark::State &state) {
    unsigned position = FM_Near_Limit;
    for (auto _ : state) {
        position = position < FM_Far_Limit ? position + 1 : FM_Near_Limit;
        benchmark::DoNotOptimize(Lens_Map_FPosition(position));
    }
}

// ---- The serial protocol: a frame cut, understood and answered, one real write included ----

void answer(benchmark::State &state, vcam::Bytes frame) {
    const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
    InitUsartFd(sink);
    const int length = static_cast<int>(frame.size());
    for (auto _ : state) {
        int type = 0;
        benchmark::DoNotOptimize(
            CheckVISCACmd(reinterpret_cast<char *>(frame.data()), length, &type));
        benchmark::DoNotOptimize(SonyViscaProcess(frame.data(), length));
    }
    InitUsartFd(-1);
    close(sink);
}

void answerFocusModeInquiry(benchmark::State &state) {
    answer(state, vcam::kAskFocusMode);
}

void answerZoomPositionInquiryWithItsMessage(benchmark::State &state) {
    answer(state, vcam::kAskZoom);
}

void answerZoomPositionInquiryWithReplies(benchmark::State &state) {
    const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
    openPort(sink);
    vcam::Bytes frame = vcam::kAskZoom;
    const int length = static_cast<int>(frame.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(measureFrame(frame.data(), length));
        answerVisca(frame.data(), length);
    }
    close(sink);
}

// ---- What is measured, and the least that it must do ----

const struct {
    const char *name;
    void (*bench)(benchmark::State &);
    int least; // loads, stores, calls and demanded arithmetic, of an instruction each
    const char *because;
} kBenches[] = {
    {"reduceZonesOfOneFrame", reduceZonesOfOneFrame, 828,
     "64 zones: 3 values to read, 4 products, 3 sums, a shift; 16 of them: a 4th value, 6 sums; "
     "4 quotients; 8 words to write"},
    {"planOneTrackingPeriod", planOneTrackingPeriod, 14,
     "2 counters, 2 grid points, 2 of the line, its step, 4 limits to read; 3 words to write"},
    {"planAndEncodeOneTrackingPeriod", planAndEncodeOneTrackingPeriod, 18,
     "the same, and 4 register words"},
    {"lookUpGridIndex", lookUpGridIndex, 6, "4 of 16 grid points to compare; 2 indices to write"},
    {"mapZoomPosition", mapZoomPosition, 9,
     "the same, the ratios around and their count to read, the position to write"},
    {"mapFocusPosition", mapFocusPosition, 4, "3 words of the travel to read, 1 to write"},
    {"answerFocusModeInquiry", answerFocusModeInquiry, 11,
     "5 bytes to read, the mode, 4 bytes to write, a system call"},
    {"answerZoomPositionInquiryWithItsMessage", answerZoomPositionInquiryWithItsMessage, 15,
     "5 bytes to read, the position, 7 bytes to write, a system call, a message"},
    {"answerZoomPositionInquiryWithReplies", answerZoomPositionInquiryWithReplies, 14,
     "5 bytes to read, the position, 7 bytes to write, a system call"},
};

// `--bounds` lists them for the script that counts instructions; `--iterations N` runs each so
// often.
void registerBenches(int iterations) {
    for (const auto &row : kBenches) {
        auto *bench = benchmark::RegisterBenchmark(row.name, row.bench);
        if (iterations > 0)
            bench->Iterations(iterations);
    }
}

void printBounds() {
    for (const auto &row : kBenches)
        printf("%s\t%d\t%s\n", row.name, row.least, row.because);
}

} // namespace

int main(int argc, char **argv) {
    if (argc == 2 && strcmp(argv[1], "--bounds") == 0) {
        printBounds();
        return 0;
    }
    int iterations = 0;
    if (argc > 2 && strcmp(argv[1], "--iterations") == 0) {
        iterations = atoi(argv[2]);
        if (iterations <= 0) {
            fprintf(stderr, "%s: '%s' is no number of iterations\n", argv[0], argv[2]);
            return 1;
        }
        argv[2] = argv[0];
        argc -= 2;
        argv += 2;
    }
    registerBenches(iterations);
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    // The library prints: its messages go nowhere while the benches run.
    const int standardOutput = dup(STDOUT_FILENO);
    if (freopen("/dev/null", "w", stdout) == nullptr)
        return 1;
    buildLens(kUsualSensor);
    g_ShaPosInfo = &record;
    listInnerPoints();
    std::ostringstream report;
    std::ostringstream context; // of the machine; and that Debian's package is no release build
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_None);
    reporter.SetOutputStream(&report);
    reporter.SetErrorStream(&context);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    fflush(stdout);
    dup2(standardOutput, STDOUT_FILENO);
    const bool isPrinted = fputs(report.str().c_str(), stdout) >= 0 && fflush(stdout) == 0;
    if (!isPrinted)
        fprintf(stderr, "bench: the figures can't be printed\n");
    return isPrinted ? 0 : 1;
}
