#include "first_light.h"

#include <cmath>
#include <csignal>
#include <cstdio>

#include "autofocus/lens_state.h"
#include "autofocus/mailbox.h"
#include "autofocus/types.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "host/controller_frames.h"
#include "isp/isp.h"
#include "optics/lens_curves.h"
#include "optics/render.h"
#include "optics/scene.h"
#include "plot.h"
#include "stage.h"

namespace demo {

static constexpr double kRunLimitS = 60;
static constexpr int64_t kHoldUs = 2000000;
static constexpr double kNearObjectM = 3;

namespace {
/// The frames and samples that one autofocus run took.
struct RunSpan {
    size_t firstSample;
    size_t lastSample;
};
} // namespace

// The samples of the autofocus run that is due.
static RunSpan watchRun(Stage &stage, const std::string &name) {
    const size_t first = stage.samples().size();
    stage.awaitRun(name);
    return {first, stage.samples().size()};
}

static void zoomToTele(Stage &stage) {
    stage.hold("tele", vcam::kViscaTele, kHoldUs, vcam::kViscaZoomStop);
    stage.advanceUntil("zoom stops", kRunLimitS,
                       [] { return !vcam::isMotorRunning(vcam::Axis::Zoom); });
    stage.report("zoom stopped, the focus has followed");
    stage.awaitRun("autofocus after the zoom");
}

static bool isTriggerFired() {
    return Lens_Get_Command() == CMD_FOCUS;
}

static void photograph(Stage &stage, const char *name) {
    stage.checkWritten(vcam::writeScenePng((stage.folder() + "/" + name).c_str()), name);
}

static std::string spellDistance(double metres) {
    char text[32];
    snprintf(text, sizeof text, "%g m", metres);
    return std::isfinite(metres) ? text : "far";
}

/// Near, or far away from where it is near already: a move that can't be overlooked.
static RunSpan moveObject(Stage &stage) {
    const double fromM = vcam::objectDistanceM();
    const double toM = fromM > 2 * kNearObjectM ? kNearObjectM : HUGE_VAL;
    vcam::setObjectDistanceM(toM);
    stage.report("the object moves from " + spellDistance(fromM) + " to " + spellDistance(toM));
    const int64_t frames = vcam::frameCount();
    stage.advanceUntil("refocus trigger", kRunLimitS, isTriggerFired);
    stage.report("the refocus trigger fires by itself, " +
                 std::to_string(vcam::frameCount() - frames) + " frames");
    photograph(stage, "before_autofocus.png");
    const RunSpan span = watchRun(stage, "refocus");
    photograph(stage, "after_autofocus.png");
    return span;
}

static void zoomToWide(Stage &stage) {
    stage.send("controller: wide", vcam::kViscaWide);
    stage.advanceUntil("zooming wide", kRunLimitS, [] {
        return vcam::truePosition(vcam::Axis::Zoom) == static_cast<int>(ZM_Wide_Limit);
    });
    stage.report("wide limit reached");
    stage.awaitRun("autofocus at wide");
}

// The protocol's focus scale, reckoned from where the lens truly is: 0xC000 at the near end of the
// travel, 0x1000 at its far end.
static unsigned expectedFocus16() {
    const float travel = static_cast<float>(vcam::travelEnd(vcam::Axis::Focus) - 10000);
    const float share = static_cast<float>(vcam::truePosition(vcam::Axis::Focus) - 10000) / travel;
    return static_cast<unsigned>(49152.0F - share * 45056.0F);
}

static void askInquiries(Stage &stage) {
    stage.inquire("zoom position?", vcam::kAskZoom,
                  vcam::viscaPositionReply(0)); // the wide end is 0
    stage.inquire("focus position?", vcam::kAskFocus, vcam::viscaPositionReply(expectedFocus16()));
    stage.inquire("focus mode?", vcam::kAskFocusMode, {0x90, 0x50, 0x02, 0xFF});
}

// ---- What people would rather look at ----

static void plotRun(Stage &stage, const RunSpan &span) {
    PlotSeries series = {"one sample a frame", "#1565c0", {}, true};
    for (size_t i = span.firstSample; i < span.lastSample; ++i) {
        const Sample &sample = stage.samples()[i];
        series.points.push_back({static_cast<double>(sample.focus), sample.focusValue});
    }
    PlotPanel panel = {"focus value (weighted, centre)", {series}, {}, {}};
    panel.notesAt.push_back({vcam::inFocusPositionAt(stage.samples()[span.lastSample - 1].zoom,
                                                     1 / vcam::objectDistanceM()),
                             0});
    panel.notes.push_back("true best focus");
    const char *const name = "focus_value_over_position.svg";
    stage.checkWritten(
        writePlot(stage.folder() + "/" + name,
                  "Refocus after the object has moved to " + spellDistance(vcam::objectDistanceM()),
                  "focus position (motor steps)", {panel}),
        name);
}

template <typename Pick>
static PlotSeries seriesOverTime(const Stage &stage, const char *label, const char *colour,
                                 Pick pick) {
    PlotSeries series = {label, colour, {}, false};
    for (const Sample &sample : stage.samples())
        series.points.push_back({sample.timeS, static_cast<double>(pick(sample))});
    return series;
}

static void plotStory(Stage &stage) {
    const auto zoom = seriesOverTime(stage, "zoom", "#2e7d32", [](auto &s) { return s.zoom; });
    const auto focus = seriesOverTime(stage, "focus", "#c62828", [](auto &s) { return s.focus; });
    const auto best =
        seriesOverTime(stage, "best focus", "#f9a825", [](auto &s) { return s.inFocus; });
    const auto value = seriesOverTime(stage, "", "#1565c0", [](auto &s) { return s.focusValue; });
    const char *const name = "story_over_time.svg";
    stage.checkWritten(writePlot(stage.folder() + "/" + name, "From power-on to a sharp picture",
                                 "virtual time (s)",
                                 {{"zoom (motor steps)", {zoom}, {}, {}},
                                  {"focus (motor steps)", {best, focus}, {}, {}},
                                  {"focus value (centre)", {value}, {}, {}}}),
                       name);
}

int playFirstLight(const vcam::CameraOptions &options, const std::string &outFolder) {
    Stage stage(options, outFolder);
    stage.boot();
    zoomToTele(stage);
    const RunSpan refocus = moveObject(stage);
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

static std::string nameCommand(unsigned command) {
    static const char *const kNames[] = {"ZSTOP", "WIDE",  "TELE",   "NEAR",  "FAR",   "RESET",
                                         "FOCUS", "FLINE", "SPST",   "CAPST", "CLPST", "DZF",
                                         "RST",   "FSTOP", "MFMODE", "AFMODE"};
    return command < CMD_NONE ? kNames[command] : "NONE: idle";
}

int playLive(const vcam::CameraOptions &options, const std::string &outFolder) {
    std::signal(SIGINT, noteInterrupt);
    std::signal(SIGTERM, noteInterrupt);
    Stage stage(options, outFolder);
    stage.boot();
    fprintf(stdout, "\nVISCA (camera 1) and Pelco-D (address 1) on %s; Ctrl-C ends\n\n",
            vcam::ptyName().c_str());
    fflush(stdout);
    unsigned shown = Lens_Get_Command();
    while (!isInterrupted) {
        stage.advanceUs(100000);
        const unsigned command = Lens_Get_Command();
        if (command != shown)
            stage.report("the mailbox holds " + nameCommand(command));
        shown = command;
    }
    return stage.giveVerdict();
}

} // namespace demo
