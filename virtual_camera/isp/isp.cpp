// Frames are not events: whoever asks is told which frame ended last, and its zones are worked out
// then, from where the lens was at that instant. Each call runs on the thread that makes it.
#include "isp/isp.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstring>

#include "clock/trace.h"
#include "clock/unobserved.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "flaws/flaws.h"
#include "optics/scene.h"
#include "optics/zone_spectra.h"
#include "optics/zone_values.h"

// The program exports these calls to the library, which is loaded beside it.
#pragma GCC visibility push(default)
#include "platform/isp.h"
#pragma GCC visibility pop

namespace vcam {

static constexpr HI_S32 kTimedOut = -1;
static constexpr HI_S32 kBadArgument = -2;
static constexpr HI_U32 kGainOfOne = 1024;
static constexpr size_t kIspCallCount = 6;
static constexpr size_t kMostLooks = 8;

namespace {
struct Fault {
    int32_t code = 0;
    int times = 0;
    int64_t fromFrame = 0;
};

struct Isp {
    double frameUs = 40000;
    int64_t stallFromUs = 0;
    int64_t stallUntilUs = 0;
    Fault faults[kIspCallCount];
    ISP_STATISTICS_CFG_S config{};
    bool isConfigured = false;
    HI_U32 widthPx = 1920;
    HI_U32 heightPx = 1080;
    uint64_t lampZones = 0;
    int64_t zonesOfFrame = -1; // the frame that `zones` belongs to
    ZoneValues zones{};
};
} // namespace

static Isp isp;

static int64_t frameEndUs(int64_t frame) {
    const double roundingUs = 1e-3; // what the product may be above a whole number by itself
    return std::llround(std::ceil(static_cast<double>(frame) * isp.frameUs - roundingUs));
}

/// The last frame that ended at or before an instant, a stall left aside.
static int64_t frameEndedAt(int64_t timeUs) {
    auto frame = static_cast<int64_t>(static_cast<double>(timeUs) / isp.frameUs);
    while (frameEndUs(frame + 1) <= timeUs)
        ++frame;
    while (frame > 0 && frameEndUs(frame) > timeUs)
        --frame;
    return frame;
}

static bool isStalled(int64_t timeUs) {
    return timeUs > isp.stallFromUs && timeUs <= isp.stallUntilUs;
}

static int64_t lastFrame() {
    const int64_t now = nowUs();
    const int64_t frame = frameEndedAt(now);
    return isStalled(frameEndUs(frame)) ? frameEndedAt(isp.stallFromUs) : frame;
}

static int64_t nextFrameEndUs() {
    int64_t frame = frameEndedAt(nowUs()) + 1;
    if (isStalled(frameEndUs(frame)))
        frame = frameEndedAt(isp.stallUntilUs) + 1;
    return frameEndUs(frame);
}

/// The code of an injected fault that is due, or 0.
static HI_S32 takeFault(IspCall call) {
    Fault &fault = isp.faults[static_cast<size_t>(call)];
    if (fault.times == 0 || frameCount() < fault.fromFrame)
        return 0;
    if (fault.times > 0)
        --fault.times;
    trace("isp", "fault", "call=%d code=%d", static_cast<int>(call), fault.code);
    return fault.code;
}

/// The looks that make up a frame, evenly over its exposure, the last one at its end.
static size_t lookThroughFrame(int64_t frame, LensPlace *places) {
    const size_t count = flaws().exposure > 0 ? kMostLooks : 1;
    const double betweenUs = flaws().exposure * isp.frameUs / static_cast<double>(kMostLooks);
    for (size_t i = 0; i < count; ++i) {
        const double earlierUs = betweenUs * static_cast<double>(count - 1 - i);
        const int64_t timeUs = std::max<int64_t>(frameEndUs(frame) - std::llround(earlierUs), 0);
        places[i] = {groupPositionAt(Axis::Zoom, timeUs), groupPositionAt(Axis::Focus, timeUs),
                     timeUs};
    }
    return count;
}

/// Late statistics are those of an earlier frame; the noise is the frame's own.
static void refreshZones() {
    const int64_t frame = lastFrame();
    if (frame == isp.zonesOfFrame)
        return;
    LensPlace places[kMostLooks];
    const size_t count = lookThroughFrame(std::max<int64_t>(frame - flaws().delay, 0), places);
    measureZones({places, count, static_cast<uint64_t>(frame), isNight() ? isp.lampZones : 0},
                 isp.zones);
    isp.zonesOfFrame = frame;
    const LensPlace &last = places[count - 1];
    trace("isp", "frame", "number=%" PRId64 " zoom=%d focus=%d value=%lld", frame, last.zoom,
          last.focus, std::llrint(averageCentre(isp.zones)));
}

static void checkConfig(const ISP_AF_CFG_S &config) {
    const bool isGrid = config.u16Hwnd == kZoneColumns && config.u16Vwnd == kZoneRows;
    const bool isWindow = config.u16Hsize == static_cast<HI_U16>(isp.widthPx) &&
                          config.u16Vsize == static_cast<HI_U16>(isp.heightPx);
    if (config.bEnable != HI_TRUE || !isGrid || !isWindow) {
        recordViolation("isp", "focus statistics configured enable=%d grid %ux%u window %ux%u",
                        config.bEnable, config.u16Hwnd, config.u16Vwnd, config.u16Hsize,
                        config.u16Vsize);
    }
}

static bool isSameConfig(const ISP_FOCUS_STATISTICS_CFG_S &one,
                         const ISP_FOCUS_STATISTICS_CFG_S &other) {
    // As the block of memory that was handed out, the bytes between its members included.
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
    return std::memcmp(&one, &other, sizeof one) == 0;
}

static HI_U16 toMetric(float value) {
    return static_cast<HI_U16>(std::clamp(value, 0.0F, 65535.0F));
}

static void fillZone(ISP_FOCUS_ZONE_S &zone, size_t at) {
    zone.u16h1 = toMetric(isp.zones.band[kH1][at]);
    zone.u16h2 = toMetric(isp.zones.band[kH2][at]);
    zone.u16v1 = toMetric(isp.zones.band[kV1][at]);
    zone.u16v2 = toMetric(isp.zones.band[kV2][at]);
    zone.u16y = toMetric(isp.zones.luminance[at]);
}

void failIspCall(IspCall call, int32_t code, int times, int64_t fromFrame) {
    isp.faults[static_cast<size_t>(call)] = Fault{code, times, fromFrame};
}

void stallFramesUntilUs(int64_t timeUs) {
    isp.stallFromUs = nowUs();
    isp.stallUntilUs = timeUs;
    trace("isp", "stall", "until_us=%" PRId64, timeUs);
}

int64_t frameCount() {
    return lastFrame();
}

void saturateZones(uint64_t zoneMask) {
    isp.lampZones = zoneMask;
    isp.zonesOfFrame = -1;
}

void setWindow(uint32_t widthPx, uint32_t heightPx) {
    isp.widthPx = widthPx;
    isp.heightPx = heightPx;
}

double focusValue() {
    const Unobserved unobserved;
    refreshZones();
    return averageCentre(isp.zones);
}

double wholeFocusValue() {
    const Unobserved unobserved;
    refreshZones();
    return averageWhole(isp.zones);
}

void powerOnIsp(const CameraOptions &options) {
    isp = Isp{};
    isp.frameUs = 1e6 / options.frameRateHz;
}

} // namespace vcam

using namespace vcam;

HI_S32 HI_MPI_ISP_GetStatisticsConfig(ISP_DEV, ISP_STATISTICS_CFG_S *pstStatCfg) {
    const Unobserved unobserved;
    const HI_S32 code = takeFault(IspCall::GetStatisticsConfig);
    if (code == 0)
        *pstStatCfg = isp.config;
    return code;
}

HI_S32 HI_MPI_ISP_SetStatisticsConfig(ISP_DEV, const ISP_STATISTICS_CFG_S *pstStatCfg) {
    const Unobserved unobserved;
    if (const HI_S32 code = takeFault(IspCall::SetStatisticsConfig); code != 0)
        return code;
    if (!isp.isConfigured || !isSameConfig(isp.config.stFocusCfg, pstStatCfg->stFocusCfg)) {
        const ISP_AF_CFG_S &focus = pstStatCfg->stFocusCfg.stConfig;
        trace("isp", "config", "enable=%d grid=%ux%u window=%ux%u", focus.bEnable, focus.u16Hwnd,
              focus.u16Vwnd, focus.u16Hsize, focus.u16Vsize);
        checkConfig(focus);
    }
    isp.config = *pstStatCfg;
    isp.isConfigured = true;
    return 0;
}

HI_S32 HI_MPI_ISP_GetPubAttr(ISP_DEV, ISP_PUB_ATTR_S *pstPubAttr) {
    const Unobserved unobserved;
    const HI_S32 code = takeFault(IspCall::GetPubAttr);
    if (code == 0)
        pstPubAttr->stWndRect = RECT_S{0, 0, isp.widthPx, isp.heightPx};
    return code;
}

HI_S32 HI_MPI_ISP_GetVDTimeOut(ISP_DEV, ISP_VD_INFO_S *pstIspVdInfo, HI_U32 u32MilliSec) {
    const Unobserved unobserved;
    constexpr int64_t kMicrosecondsPerMs = 1000;
    if (const HI_S32 code = takeFault(IspCall::GetVdTimeOut); code != 0) {
        // A driver that fails at once would make its caller spin; this one fails at frame rate.
        sleepUntilUs(frameEndUs(frameEndedAt(nowUs()) + 1));
        return code;
    }
    const int64_t deadlineUs = nowUs() + u32MilliSec * kMicrosecondsPerMs;
    const int64_t endUs = nextFrameEndUs();
    if (endUs > deadlineUs) {
        sleepUntilUs(deadlineUs);
        return kTimedOut;
    }
    sleepUntilUs(endUs);
    pstIspVdInfo->u32FrameCnt = static_cast<HI_U32>(frameCount());
    return 0;
}

HI_S32 HI_MPI_ISP_GetStatistics(ISP_DEV, ISP_STATISTICS_S *pstStat) {
    const Unobserved unobserved;
    if (const HI_S32 code = takeFault(IspCall::GetStatistics); code != 0)
        return code;
    if (!isp.isConfigured) {
        recordViolation("isp", "focus statistics read before they were configured");
        return kBadArgument;
    }
    refreshZones();
    for (size_t row = 0; row < kZoneRows; ++row) {
        for (size_t column = 0; column < kZoneColumns; ++column)
            fillZone(pstStat->stFocusStat.stZoneMetrics[row][column], row * kZoneColumns + column);
    }
    return 0;
}

HI_S32 HI_MPI_ISP_QueryExposureInfo(ISP_DEV, ISP_EXP_INFO_S *pstExpInfo) {
    const Unobserved unobserved;
    if (const HI_S32 code = takeFault(IspCall::QueryExposureInfo); code != 0)
        return code;
    const auto gain = static_cast<HI_U32>(exposureGain());
    pstExpInfo->u32AGain = kGainOfOne * gain;
    pstExpInfo->u32DGain = kGainOfOne;
    pstExpInfo->u32ISPDGain = kGainOfOne;
    return 0;
}
