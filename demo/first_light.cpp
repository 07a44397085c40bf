#include "first_light.h"

#include <cmath>
#include <csignal>
#include <cstdio>

#include "autofocus_service.h"
#include "clock/virtual_clock.h"
#include "devices/isp.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "host.h"
#include "optics/lens_curves.h"
#include "optics/render.h"
#include "optics/scene.h"
#include "plot.h"
#include "stage.h"

namespace demo {

static constexpr double kBootLimitS = 60;
static constexpr double kRunLimitS = 60;
static constexpr int64_t kHoldUs = 2000000;
static constexpr double kNearObjectM = 3;

static const std::vector<uint8_t> kZoomTele = {0x81, 0x01, 0x04, 0x07, 0x27, 0xFF};
static const std::vector<uint8_t> kZoomWide = {0x81, 0x01, 0x04, 0x07, 0x37, 0xFF};
static const std::vector<uint8_t> kZoomStop = {0x81, 0x01, 0x04, 0x07, 0x00, 0xFF};
static const std::vector<uint8_t> kAskZoom = {0x81, 0x09, 0x04, 0x47, 0xFF};
static const std::vector<uint8_t> kAskFocus = {0x81, 0x09, 0x04, 0x48, 0xFF};
static const std::vector<uint8_t> kAskFocusMode = {0x81, 0x09, 0x04, 0x38, 0xFF};

namespace {
/// The frames and samples that one autofocus run took.
struct RunSpan {
    size_t firstSample;
    size_t lastSample;
};
} // namespace

static std::string countFrames(int64_t since) {
    return std::to_string(vcam::frameCount() - since) + " frames";
}

static void boot(Stage &stage) {
    stage.advanceUntil("finding home", kBootLimitS, [] { return countSavedPositions() > 0; });
    stage.report("home found, parked at wide / infinity");
    stage.checkCountersTrue("after homing");
}

// Wait for the autofocus run that is due and judge it.
static RunSpan awaitRun(Stage &stage, const std::string &name) {
    const int64_t frames = vcam::frameCount();
    const size_t first = stage.samples().size();
    stage.advanceUntilIdle(name, kRunLimitS);
    stage.report(name + " done, " + countFrames(frames));
    stage.checkCountersTrue(name);
    stage.checkSharp(name);
    return {first, stage.samples().size()};
}

static void zoomToTele(Stage &stage) {
    stage.send("controller: tele", kZoomTele);
    stage.advanceUs(kHoldUs);
    stage.send("controller: stop", kZoomStop);
    stage.advanceUntil("zoom stops", kRunLimitS,
                       [] { return !vcam::isMotorRunning(vcam::Axis::Zoom); });
    stage.report("zoom stopped, the focus has followed");
    awaitRun(stage, "autofocus after the zoom");
}

static bool isTriggerFired() {
    return Lens_Get_Command() == CMD_FOCUS;
}

static RunSpan bringObjectNear(Stage &stage) {
    vcam::setObjectDistanceM(kNearObjectM);
    stage.report("the object moves from far to 3 m");
    const int64_t frames = vcam::frameCount();
    stage.advanceUntil("refocus trigger", kRunLimitS, isTriggerFired);
    stage.report("the refocus trigger fires by itself, " + countFrames(frames));
    vcam::writeScenePng((stage.folder() + "/before_autofocus.png").c_str());
    const RunSpan span = awaitRun(stage, "refocus");
    vcam::writeScenePng((stage.folder() + "/after_autofocus.png").c_str());
    return span;
}

static void zoomToWide(Stage &stage) {
    stage.send("controller: wide", kZoomWide);
    stage.advanceUntil("zooming wide", kRunLimitS, [] {
        return vcam::truePosition(vcam::Axis::Zoom) == static_cast<int>(ZM_Wide_Limit);
    });
    stage.report("wide limit reached");
    awaitRun(stage, "autofocus at wide");
}

static std::vector<uint8_t> replyOfPosition(unsigned position) {
    std::vector<uint8_t> reply = {0x90, 0x50};
    for (int shift = 12; shift >= 0; shift -= 4)
        reply.push_back(static_cast<uint8_t>(position >> shift & 0xF));
    reply.push_back(0xFF);
    return reply;
}

// The protocol's focus scale, reckoned from where the lens truly is: 0xC000 at the near end of the
// travel, 0x1000 at its far end.
static unsigned expectedFocus16() {
    const float travel = static_cast<float>(vcam::travelEnd(vcam::Axis::Focus) - 10000);
    const float share = static_cast<float>(vcam::truePosition(vcam::Axis::Focus) - 10000) / travel;
    return static_cast<unsigned>(49152.0F - share * 45056.0F);
}

static void askInquiries(Stage &stage) {
    stage.inquire("zoom position?", kAskZoom, replyOfPosition(0)); // the wide end is 0
    stage.inquire("focus position?", kAskFocus, replyOfPosition(expectedFocus16()));
    stage.inquire("focus mode?", kAskFocusMode, {0x90, 0x50, 0x02, 0xFF});
}

// ---- What people would rather look at ----

static void plotRun(const Stage &stage, const RunSpan &span) {
    PlotSeries series = {"one sample a frame", "#1565c0", {}, true};
    for (size_t i = span.firstSample; i < span.lastSample; ++i) {
        const Sample &sample = stage.samples()[i];
        series.points.push_back({static_cast<double>(sample.focus), sample.focusValue});
    }
    PlotPanel panel = {"focus value (weighted, centre)", {series}, {}, {}};
    panel.notesAt.push_back(
        {vcam::inFocusPositionAt(stage.samples()[span.lastSample - 1].zoom, 1 / kNearObjectM), 0});
    panel.notes.push_back("true best focus");
    writePlot(stage.folder() + "/focus_value_over_position.svg",
              "Refocus after the object has moved to 3 m", "focus position (motor steps)", {panel});
}

template <typename Pick>
static PlotSeries seriesOverTime(const Stage &stage, const char *label, const char *colour,
                                 Pick pick) {
    PlotSeries series = {label, colour, {}, false};
    for (const Sample &sample : stage.samples())
        series.points.push_back({sample.timeS, static_cast<double>(pick(sample))});
    return series;
}

static void plotStory(const Stage &stage) {
    const auto zoom = seriesOverTime(stage, "zoom", "#2e7d32", [](auto &s) { return s.zoom; });
    const auto focus = seriesOverTime(stage, "focus", "#c62828", [](auto &s) { return s.focus; });
    const auto best =
        seriesOverTime(stage, "best focus", "#f9a825", [](auto &s) { return s.inFocus; });
    const auto value = seriesOverTime(stage, "", "#1565c0", [](auto &s) { return s.focusValue; });
    writePlot(stage.folder() + "/story_over_time.svg", "From power-on to a sharp picture",
              "virtual time (s)",
              {{"zoom (motor steps)", {zoom}, {}, {}},
               {"focus (motor steps)", {best, focus}, {}, {}},
               {"focus value (centre)", {value}, {}, {}}});
}

int playFirstLight(const vcam::CameraOptions &options, const std::string &outFolder) {
    Stage stage(options, outFolder);
    boot(stage);
    awaitRun(stage, "first autofocus");
    zoomToTele(stage);
    const RunSpan refocus = bringObjectNear(stage);
    zoomToWide(stage);
    askInquiries(stage);
    plotRun(stage, refocus);
    plotStory(stage);
    fprintf(stdout,
            "\nin %s: before_autofocus.png, after_autofocus.png, "
            "focus_value_over_position.svg, story_over_time.svg, trace.txt, console.txt\n",
            outFolder.c_str());
    return stage.giveVerdict();
}

// ---- Live ----

static volatile std::sig_atomic_t isInterrupted = 0;

static void noteInterrupt(int) {
    isInterrupted = 1;
}

int playLive(const vcam::CameraOptions &options, const std::string &outFolder) {
    std::signal(SIGINT, noteInterrupt);
    std::signal(SIGTERM, noteInterrupt);
    Stage stage(options, outFolder);
    boot(stage);
    awaitRun(stage, "first autofocus");
    fprintf(stdout, "\nVISCA (camera 1) and Pelco-D (address 1) on %s; Ctrl-C ends\n\n",
            vcam::ptyName().c_str());
    unsigned shown = Lens_Get_Command();
    while (!isInterrupted) {
        stage.advanceUs(100000);
        const unsigned command = Lens_Get_Command();
        if (command != shown)
            stage.report("the mailbox holds " + std::to_string(command));
        shown = command;
    }
    return stage.giveVerdict();
}

} // namespace demo
