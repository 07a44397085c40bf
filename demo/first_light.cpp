#include "first_light.h"

#include <cmath>
#include <cstdio>

#include "autofocus/lens_state.h"
#include "autofocus/mailbox.h"
#include "autofocus/types.h"
#include "devices/lens.h"
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
static constexpr double kMostShown = 10; // half depths; sharp is below 1

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
    stage.hold("zoom tele", vcam::kViscaTele, kHoldUs, vcam::kViscaZoomStop);
    if (stage.advanceUntil("zoom stops", kRunLimitS,
                           [] { return !vcam::isMotorRunning(vcam::Axis::Zoom); }))
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

/// Without a trigger there is no run: what is left is how far off the picture stays.
static RunSpan watchRefocus(Stage &stage, bool isTriggered) {
    if (isTriggered)
        return watchRun(stage, "refocus");
    stage.checkSharp("without a refocus");
    return {stage.samples().size(), stage.samples().size()};
}

static bool awaitTrigger(Stage &stage) {
    const int64_t frames = vcam::frameCount();
    if (!stage.advanceUntil("refocus trigger", kRunLimitS, isTriggerFired))
        return false;
    stage.report("the refocus trigger fires by itself, " +
                 std::to_string(vcam::frameCount() - frames) + " frames");
    return true;
}

/// Near, or far away from where it is near already: a move that can't be overlooked.
static RunSpan moveObject(Stage &stage) {
    const double fromM = vcam::objectDistanceM();
    const double toM = fromM > 2 * kNearObjectM ? kNearObjectM : HUGE_VAL;
    vcam::setObjectDistanceM(toM);
    stage.enterPhase("object moves");
    stage.report("the object moves from " + spellDistance(fromM) + " to " + spellDistance(toM));
    const bool isTriggered = awaitTrigger(stage);
    photograph(stage, "before_autofocus.png");
    const RunSpan span = watchRefocus(stage, isTriggered);
    photograph(stage, "after_autofocus.png");
    stage.checkWritten(vcam::writeWholeScenePng((stage.folder() + "/scene.png").c_str()),
                       "scene.png");
    return span;
}

static void zoomToWide(Stage &stage) {
    stage.enterPhase("zoom wide");
    stage.send("controller: wide", vcam::kViscaWide);
    if (stage.advanceUntil("zooming wide", kRunLimitS, [] {
            return vcam::truePosition(vcam::Axis::Zoom) == static_cast<int>(ZM_Wide_Limit);
        }))
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

// The samples of a run, cut where the focus turns: a series a pass.
static std::vector<PlotSeries> splitIntoPasses(const Stage &stage, const RunSpan &span) {
    std::vector<PlotSeries> passes;
    for (size_t i = span.firstSample + 1; i < span.lastSample; ++i) {
        const Sample &from = stage.samples()[i - 1];
        const Sample &to = stage.samples()[i];
        if (from.focus == to.focus)
            continue;
        const bool isFar = to.focus > from.focus;
        const char *const label = isFar ? "toward far" : "toward near";
        if (passes.empty() || passes.back().label != label)
            passes.push_back({label,
                              isFar ? kBlue : kOrange,
                              {{static_cast<double>(from.focus), from.focusValue}},
                              PlotStyle::Arrows});
        passes.back().points.push_back({static_cast<double>(to.focus), to.focusValue});
    }
    return passes;
}

static std::string titleOf(const RunSpan &span) {
    const std::string moved = " after the object has moved to ";
    const std::string where = spellDistance(vcam::objectDistanceM());
    if (span.firstSample == span.lastSample)
        return "No refocus" + moved + where;
    return "Refocus" + moved + where + ": a dot a frame";
}

static void plotRun(Stage &stage, const RunSpan &span) {
    const double best = vcam::inFocusPositionAt(stage.samples()[span.lastSample - 1].zoom,
                                                1 / vcam::objectDistanceM());
    const char *const name = "focus_value_over_position.svg";
    stage.checkWritten(writePlot(stage.folder() + "/" + name, {titleOf(span),
                                                               "focus position (motor steps)",
                                                               {{"focus value (weighted, centre)",
                                                                 splitIntoPasses(stage, span),
                                                                 {{best, "true best focus"}}}},
                                                               {}}),
                       name);
}

template <typename Pick>
static PlotSeries seriesOverTime(const Stage &stage, const char *label, const char *colour,
                                 Pick pick) {
    PlotSeries series = {label, colour, {}, PlotStyle::Line};
    for (const Sample &sample : stage.samples())
        series.points.push_back({sample.timeS, static_cast<double>(pick(sample))});
    return series;
}

static std::vector<PlotPhase> listPhases(const Stage &stage) {
    std::vector<PlotPhase> phases;
    const std::vector<Phase> &all = stage.phases();
    for (size_t i = 0; i < all.size(); ++i)
        phases.push_back(
            {all[i].fromS, i + 1 < all.size() ? all[i + 1].fromS : stage.timeS(), all[i].name});
    return phases;
}

static void plotStory(Stage &stage) {
    const auto zoom = seriesOverTime(stage, "zoom", kGreen, [](auto &s) { return s.zoom; });
    const auto focus = seriesOverTime(stage, "focus", kBlue, [](auto &s) { return s.focus; });
    auto best = seriesOverTime(stage, "best focus", kYellow, [](auto &s) { return s.inFocus; });
    best.style = PlotStyle::WideLine;
    const auto error =
        seriesOverTime(stage, "", kOrange, [](auto &s) { return s.errorHalfDepths; });
    const auto value = seriesOverTime(stage, "", kBlue, [](auto &s) { return s.focusValue; });
    const char *const name = "story_over_time.svg";
    stage.checkWritten(writePlot(stage.folder() + "/" + name,
                                 {"From power-on to a sharp picture",
                                  "virtual time (s)",
                                  {{"zoom (motor steps)", {zoom}, {}},
                                   {"focus (motor steps)", {best, focus}, {}},
                                   {"off focus (half depths, to 10)", {error}, {}, 1, kMostShown},
                                   {"focus value (centre)", {value}, {}}},
                                  listPhases(stage)}),
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
            "\nin %s: scene.png with the frame of the view, before_autofocus.png, "
            "after_autofocus.png, focus_value_over_position.svg, story_over_time.svg, trace.txt, "
            "console.txt\n",
            outFolder.c_str());
    return stage.giveVerdict();
}

} // namespace demo
