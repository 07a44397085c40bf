#include "observer.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <deque>

#include "autofocus/focus_lines.h"
#include "autofocus/lens_state.h"
#include "autofocus/mailbox.h"
#include "autofocus/statistics.h"
#include "autofocus_control.h"
#include "boundary/console.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "flaws/flaws.h"
#include "host/memory_host.h"
#include "isp/isp.h"
#include "json_text.h"
#include "lens_models/lens_model.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "platform/shared_word.h"
#include "session_log.h"

namespace view {

static constexpr int64_t kTicksASample = 4;  // a frame at 25 a second
static constexpr size_t kMostSamples = 1500; // a minute
static constexpr size_t kMostLines = 400;
static constexpr double kMsPerTick = 10;
static constexpr double kUsPerMs = 1000;
static constexpr double kTwoMetreDioptres = 0.5;
static constexpr int kPlotPoints = 120;
static constexpr int kPresetsShown = 9;
static constexpr int kFirstWholeTag = 13;

static vcam::CameraOptions camera;
static double offsetMs;
static std::deque<std::string> samples;
static std::deque<std::string> told; // serial line, console, events
static Bytes unfinishedOrder;
static Bytes unfinishedAnswer;
static FLine_Tagposition_ST lineShown;
static bool isLensShown;

static double msNow() {
    return offsetMs + static_cast<double>(vcam::nowUs()) / kUsPerMs;
}

static void keep(std::deque<std::string> &queue, size_t most, const std::string &line) {
    queue.push_back(line);
    if (queue.size() > most)
        queue.pop_front();
}

static void tell(const char *kind, const std::string &more) {
    keep(told, kMostLines,
         "{\"k\":\"" + std::string(kind) + "\",\"t\":" + spellNumber(msNow()) + "," + more + "}");
}

// ---- Console and events

static void noteConsole(const char *text, size_t length) {
    if (length > 0)
        tell("console", "\"text\":" + quote(std::string(text, length)));
}

static void noteEvent(const AF_Event_ST *event, void *) {
    tell("event", "\"ticket\":" + std::to_string(event->ticket) +
                      ",\"activity\":" + std::to_string(event->activity) +
                      ",\"outcome\":" + std::to_string(event->outcome));
}

// ---- Serial line

static void tellFrames(Bytes &bytes, const char *direction, std::string (*explain)(const Bytes &)) {
    while (const size_t length = measureFrame(bytes)) {
        const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(length);
        const Bytes frame(bytes.begin(), end);
        bytes.erase(bytes.begin(), end);
        tell("serial", std::string("\"from\":\"") + direction + "\",\"hex\":\"" +
                           spellHex(frame.data(), frame.size()) +
                           "\",\"text\":" + quote(explain(frame)));
    }
}

void noteSent(const std::string &input) {
    static const std::string kVerb = "send ";
    Bytes bytes;
    if (input.compare(0, kVerb.size(), kVerb) != 0 || !parseHex(input.substr(kVerb.size()), bytes))
        return;
    unfinishedOrder.insert(unfinishedOrder.end(), bytes.begin(), bytes.end());
    tellFrames(unfinishedOrder, "controller", explainOrder);
}

static Bytes takeAnswers() {
    Bytes bytes = vcam::cameraSent();
    unfinishedAnswer.insert(unfinishedAnswer.end(), bytes.begin(), bytes.end());
    tellFrames(unfinishedAnswer, "camera", explainAnswer);
    return bytes;
}

// ---- Samples

static AF_Status_ST readStatus() {
    AF_Status_ST status = {};
    status.size = sizeof status;
    AF_Manager_Get_Status_API(&status);
    return status;
}

/// The one that the library goes by: near the tele end that of the whole picture.
static double focusValueAt(unsigned zoom) {
    return ZM_Step_Run[kFirstWholeTag] != 0 && zoom >= ZM_Step_Run[kFirstWholeTag]
               ? vcam::wholeFocusValue()
               : vcam::focusValue();
}

/// The page knows the order: time, true zoom and focus, the counters, best focus, focus value,
/// error in half depths, activity, autofocus runs, half depth, dioptres, the mailbox's command.
static std::string sampleNow() {
    const AF_Status_ST status = readStatus();
    unsigned zoom = 0;
    unsigned focus = 0;
    Lens_Get_Location(&zoom, &focus);
    const double fields[] = {
        msNow(),
        static_cast<double>(vcam::groupPosition(vcam::Axis::Zoom)),
        static_cast<double>(vcam::groupPosition(vcam::Axis::Focus)),
        static_cast<double>(zoom),
        static_cast<double>(focus),
        std::round(vcam::inFocusPosition() * 10) / 10,
        std::round(focusValueAt(zoom)),
        std::round(vcam::focusErrorHalfDepths() * 100) / 100,
        static_cast<double>(status.activity),
        static_cast<double>(status.runs),
        vcam::halfDepthStepsAt(vcam::groupPosition(vcam::Axis::Zoom)),
        vcam::objectDioptresAt(vcam::nowUs()),
        static_cast<double>(std::min<unsigned>(Lens_Get_Command(), 16)),
    };
    std::string text = "[";
    for (const double field : fields)
        text += (text.size() > 1 ? "," : "") + spellNumber(field);
    return text + "]";
}

Bytes observeTick(int64_t tick) {
    if (tick % kTicksASample == 0)
        keep(samples, kMostSamples, sampleNow());
    return takeAnswers();
}

// ---- The lens: once, and the library's lines whenever they change

template <typename Value> static std::string listOf(int count, Value value) {
    std::string text = "[";
    for (int i = 0; i < count; ++i)
        text += (i > 0 ? "," : "") + spellNumber(value(i));
    return text + "]";
}

static std::string describeLens() {
    const vcam::LensModel &lens = vcam::lensModelOf(camera.lensType);
    const double start = lens.gridStart;
    const double width = vcam::travelEnd(vcam::Axis::Zoom) - start;
    const auto zoomAt = [=](int i) { return start + width * i / (kPlotPoints - 1); };
    return "{\"k\":\"lens\",\"name\":" + quote(lens.name) +
           ",\"seed\":" + std::to_string(camera.seed) + ",\"picture\":" + quote(camera.picture) +
           ",\"replies\":" + std::to_string(camera.serialReplies) +
           ",\"recovery\":" + (camera.recovery ? "true" : "false") + ",\"ends\":[10000," +
           std::to_string(vcam::travelEnd(vcam::Axis::Zoom)) + ",10000," +
           std::to_string(vcam::travelEnd(vcam::Axis::Focus)) + "],\"edges\":[" +
           std::to_string(10000 + lens.axes[0].edge) + "," +
           std::to_string(10000 + lens.axes[1].edge) + "],\"zoom\":" + listOf(kPlotPoints, zoomAt) +
           ",\"infinity\":" +
           listOf(kPlotPoints, [=](int i) { return vcam::inFocusPositionAt(zoomAt(i), 0); }) +
           ",\"near\":" +
           listOf(kPlotPoints,
                  [=](int i) { return vcam::inFocusPositionAt(zoomAt(i), kTwoMetreDioptres); }) +
           "}";
}

static std::string describeLines() {
    const auto tag = [](int i) { return static_cast<double>(ZM_Step_Run[i]); };
    const auto line = [](int i) { return static_cast<double>(g_FLineInfo.tagPosition[i][0]); };
    return "{\"k\":\"lines\",\"zoom\":" + listOf(16, tag) + ",\"line\":" + listOf(16, line) +
           ",\"limits\":[" + std::to_string(ZM_Wide_Limit) + "," + std::to_string(ZM_Tele_Limit) +
           "," + std::to_string(FM_Near_Limit) + "," + std::to_string(FM_Far_Limit) + "]}";
}

std::vector<std::string> takeStaticLines() {
    std::vector<std::string> lines;
    if (!isLensShown)
        lines.push_back(describeLens());
    isLensShown = true;
    const bool isChanged = memcmp(&lineShown, &g_FLineInfo, sizeof lineShown) != 0;
    if (isChanged && ZM_Step_Run[15] != 0)
        lines.push_back(describeLines());
    lineShown = g_FLineInfo;
    return lines;
}

// ---- State

static std::string joinAll(std::deque<std::string> &queue) {
    std::string text = "[";
    for (const std::string &line : queue)
        text += (text.size() > 1 ? "," : "") + line;
    queue.clear();
    return text + "]";
}

static std::string describePresets() {
    const PRESET_INF &presets = vcam::host().presets;
    std::string text = "{";
    for (int i = 0; i < kPresetsShown; ++i) {
        if (presets.zoom[i] != 0 && presets.focus[i] != 0)
            text += (text.size() > 1 ? "," : "") + ("\"" + std::to_string(i)) + "\":[" +
                    std::to_string(presets.zoom[i]) + "," + std::to_string(presets.focus[i]) + "]";
    }
    return text + "}";
}

static std::string describeStatus() {
    const AF_Status_ST status = readStatus();
    char osd[AF_OSD_TEXT_SIZE] = "";
    AF_Manager_Get_OSDData_API(osd);
    std::string text;
    const auto add = [&text](const char *name, double value) {
        text += ",\"" + std::string(name) + "\":" + spellNumber(value);
    };
    add("activity", status.activity);
    add("faults", status.faults);
    add("ticket", status.ticket);
    add("ended", status.endedTicket);
    add("outcome", status.endedOutcome);
    add("zoomPosition", status.zoomPosition);
    add("focusPosition", status.focusPosition);
    add("runs", status.runs);
    add("verdict", status.runOutcome);
    add("frames", status.runFrames);
    add("peak", status.runPeak);
    add("floor", status.runFloor);
    add("lostZoom", status.lostZoomSteps);
    add("lostFocus", status.lostFocusSteps);
    add("violations", vcam::violationCount());
    add("night", vcam::isNight() ? 1 : 0);
    add("zoomFactor", vcam::zoomFactorAt(vcam::groupPosition(vcam::Axis::Zoom)));
    add("armed", loadWord(&g_AutoCheckFlag));
    add("drift", vcam::flaws().drift);
    return text + ",\"osd\":" + quote(osd) + ",\"presets\":" + describePresets();
}

static std::string describeSettings() {
    std::string text = ",\"settings\":[";
    for (int setting = 0; setting <= AF_SETTING_TRACKING; ++setting) {
        int value = 0;
        AF_Manager_Get_Setting_API(setting, &value);
        text += (setting > 0 ? "," : "") + std::to_string(value);
    }
    return text + "]";
}

std::string takeState(int64_t tick, const std::string &more) {
    return "{\"k\":\"state\",\"t\":" +
           spellNumber(offsetMs + static_cast<double>(tick) * kMsPerTick) + describeStatus() +
           describeSettings() + more + ",\"samples\":" + joinAll(samples) +
           ",\"told\":" + joinAll(told) + "}";
}

void beginObserving(const vcam::CameraOptions &options, int64_t offsetTicks) {
    camera = options;
    offsetMs = static_cast<double>(offsetTicks) * kMsPerTick;
    vcam::watchConsole(noteConsole);
    AF_Manager_Init_EventFun_API(noteEvent, nullptr);
}

} // namespace view
