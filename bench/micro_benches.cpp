// What the library's inner pieces cost, without the waiting that surrounds them on a camera. The
// virtual camera is linked in for the calls that the library leaves undefined; it stays switched
// off, so clocks and descriptors are the real ones.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <sstream>
#include <unistd.h>

#include "autofocus_service.h"

#include "af_interface/zone_reduction.h"
#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_lens/motion/zoom_tracking.h"
#include "af_ms419xx/registers.h"
#include "af_ms419xx/vd_timing.h"
#include "platform/isp.h"
#include "sony/framing.h"

namespace {

Lens_ShaPos_ST record;

/// The lens model as start-up builds it, without a host.
void buildLens() {
    g_LensType = LENS_B;
    g_SensType = 2;
    Lens_Init_GlobalVariable();
    Lens_Init_ZoomStep();
    Lens_Init_OSDMultiple(kFewestRatios);
    buildRatioMaps();
    Lens_Init_FLineInfo();
    Lens_Init_2MFocusLine();
    Lens_Init_Interpolation();
    Lens_Set_FocusStep();
    g_FLineFlag = 0;
    g_ShaPosInfo = &record;
}

/// Every quarter point between the ends of the grid, one after the other.
unsigned nextGridPoint() {
    static unsigned point = 0;
    point = point % (kTelePoint - 1) + 1;
    const unsigned section = point / kQuarters;
    return ZM_Step_Run[section] + point % kQuarters * quarterLength(static_cast<int>(section));
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
BENCHMARK(reduceZonesOfOneFrame);

// ---- Tracking ----

void planOneTrackingPeriod(benchmark::State &state) {
    TrackedStep step;
    for (auto _ : state) {
        storeWord(&ZM_Step_Local, nextGridPoint());
        benchmark::DoNotOptimize(planTrackedStep(MS_Z_TELE, &step));
        benchmark::DoNotOptimize(step);
    }
}
BENCHMARK(planOneTrackingPeriod);

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
BENCHMARK(planAndEncodeOneTrackingPeriod);

// ---- Map look-ups ----

void lookUpGridIndex(benchmark::State &state) {
    int index1 = 0;
    int index2 = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(Lens_Get_ZoomIndex(&index1, &index2, nextGridPoint()));
}
BENCHMARK(lookUpGridIndex);

void mapZoomPosition(benchmark::State &state) {
    for (auto _ : state)
        benchmark::DoNotOptimize(Lens_Map_ZPosition(nextGridPoint()));
}
BENCHMARK(mapZoomPosition);

void mapFocusPosition(benchmark::State &state) {
    unsigned position = FM_Near_Limit;
    for (auto _ : state) {
        position = position < FM_Far_Limit ? position + 1 : FM_Near_Limit;
        benchmark::DoNotOptimize(Lens_Map_FPosition(position));
    }
}
BENCHMARK(mapFocusPosition);

// ---- The serial protocol: a frame cut, understood and answered, one real write included ----

void answer(benchmark::State &state, unsigned char inquiry) {
    const int sink = open("/dev/null", O_WRONLY | O_CLOEXEC);
    InitUsartFd(sink);
    for (auto _ : state) {
        unsigned char frame[] = {0x81, 0x09, 0x04, inquiry, 0xFF};
        int type = 0;
        benchmark::DoNotOptimize(
            CheckVISCACmd(reinterpret_cast<char *>(frame), sizeof frame, &type));
        benchmark::DoNotOptimize(SonyViscaProcess(frame, sizeof frame));
    }
    InitUsartFd(-1);
    close(sink);
}

void answerFocusModeInquiry(benchmark::State &state) {
    answer(state, 0x38);
}
BENCHMARK(answerFocusModeInquiry);

void answerZoomPositionInquiryWithItsMessage(benchmark::State &state) {
    answer(state, 0x47);
}
BENCHMARK(answerZoomPositionInquiryWithItsMessage);

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    // The library prints: its messages go nowhere while the benches run.
    const int standardOutput = dup(STDOUT_FILENO);
    if (freopen("/dev/null", "w", stdout) == nullptr)
        return 1;
    buildLens();
    std::ostringstream report;
    std::ostringstream context; // of the machine; and that Debian's package is no release build
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_None);
    reporter.SetOutputStream(&report);
    reporter.SetErrorStream(&context);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    fflush(stdout);
    dup2(standardOutput, STDOUT_FILENO);
    fputs(report.str().c_str(), stdout);
    return 0;
}
