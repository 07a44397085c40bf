#include "stage.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "autofocus.h"
#include "autofocus/lens_state.h"
#include "autofocus/settings.h"
#include "autofocus_control.h"
#include "camera.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "host.h"
#include "host/lens_watch.h"
#include "isp/isp.h"
#include "narrator.h"
#include "optics/lens_curves.h"
#include "option_table.h"

namespace demo {

static constexpr double kUsPerS = 1e6;
static constexpr int64_t kProgressEveryUs = 2500000;
static constexpr double kSharpHalfDepths = 1;
static constexpr double kBootLimitS = 60;
static constexpr double kRunLimitS = 60;
static constexpr int64_t kVerdictUs = 160000;
static constexpr double kMostCalledFocused = 2; // half depths

using vcam::Axis;

std::string spellBytes(const std::vector<uint8_t> &bytes) {
    std::string text;
    for (uint8_t byte : bytes) {
        char pair[4];
        snprintf(pair, sizeof pair, "%s%02X", text.empty() ? "" : " ", byte);
        text += pair;
    }
    return text;
}

static size_t findExtension(const std::string &path) {
    const size_t dot = path.rfind('.');
    const bool hasOne = dot != std::string::npos && path.find('/', dot) == std::string::npos;
    return hasOne ? dot : path.size();
}

Stage::Stage(vcam::CameraOptions options, const std::string &outFolder, const std::string &part)
    : out(outFolder), store(outFolder + "/store"),
      framePeriodUs(std::lround(kUsPerS / options.frameRateHz)),
      isTelling(options.serialReplies != 0) {
    options.scratch = out + "/camera";
    options.traceFile = out + "/trace" + part + ".txt";
    options.consoleFile = out + "/console" + part + ".txt";
    if (!options.vcdFile.empty())
        options.vcdFile.insert(findExtension(options.vcdFile), part);
    fflush(stdout);
    // A configuration, not commands: lens model and IR-cut filter are words of the library's that
    // are set before it starts.
    g_LensType = options.lensType;
    g_ICUTState = options.night ? 1 : 0;
    vcam::powerOn(options);
    fprintf(stdout, "%9s  %-46s %13s %13s  %-4s %8s\n", "time s", "", "true", "believed", "OSD",
            "error");
    fprintf(stdout, "%9s  %-46s %13s %13s  %-4s %8s\n", "", "", "zoom  focus", "zoom  focus", "",
            "half dof");
    report("power on, the lens stands somewhere unknown");
    if (isTelling)
        listenToEvents();
    std::vector<Setting> settings;
    for (const vcam::LibrarySetting &setting : vcam::librarySettings(options))
        settings.emplace_back(setting.setting, setting.value);
    if (!startHost(store, vcam::serialDescriptor(), settings)) {
        fprintf(stdout, "the library refuses to start: see %s\n", options.consoleFile.c_str());
        exit(EXIT_FAILURE);
    }
}

double Stage::timeS() const {
    return static_cast<double>(vcam::nowUs()) / kUsPerS;
}

void Stage::report(const std::string &what) {
    unsigned int zoom = 0;
    unsigned int focus = 0;
    char osd[AF_OSD_TEXT_SIZE] = "";
    Lens_Get_Location(&zoom, &focus);
    AF_Manager_Get_OSDData_API(osd);
    fprintf(stdout, "%9.3f  %-46s %6d %6d %6u %6u  %-4s %+8.2f\n", timeS(), what.c_str(),
            vcam::truePosition(Axis::Zoom), vcam::truePosition(Axis::Focus), zoom, focus,
            osd[0] != '\0' ? osd : "-", vcam::focusErrorHalfDepths());
    fflush(stdout);
}

void Stage::enterPhase(const std::string &name) {
    allPhases.push_back({timeS(), name});
}

void Stage::noteSample() {
    allSamples.push_back({timeS(), vcam::truePosition(Axis::Zoom), vcam::truePosition(Axis::Focus),
                          vcam::inFocusPosition(), vcam::focusValue(),
                          vcam::focusErrorHalfDepths()});
}

void Stage::showLines() {
    if (!isTelling)
        return;
    for (const Line &line : takeLines())
        fprintf(stdout, "%9.3f  %s\n", line.timeS, line.text.c_str());
    fflush(stdout);
}

// What the camera sends is told at its instant.
void Stage::sleepUntilUs(int64_t us) {
    while (isTelling && vcam::waitCameraSent(us))
        showLines();
    vcam::sleepUntilUs(us);
}

// Samples fall on the frames' ends, where the ISP looks too.
void Stage::advanceUs(int64_t us) {
    const int64_t endUs = vcam::nowUs() + us;
    while (vcam::nowUs() < endUs) {
        const int64_t nextFrameUs = (vcam::nowUs() / framePeriodUs + 1) * framePeriodUs;
        sleepUntilUs(nextFrameUs < endUs ? nextFrameUs : endUs);
        if (vcam::nowUs() == nextFrameUs)
            noteSample();
        showLines();
    }
}

bool Stage::advanceUntil(const std::string &waitingFor, double limitS,
                         const std::function<bool()> &isDone) {
    const int64_t startUs = vcam::nowUs();
    int64_t progressUs = startUs + kProgressEveryUs;
    while (!isDone()) {
        if (static_cast<double>(vcam::nowUs() - startUs) > limitS * kUsPerS) {
            check(false, waitingFor + ": not within the time that it may take");
            return false;
        }
        advanceUs(framePeriodUs);
        if (vcam::nowUs() >= progressUs) {
            report("    ... " + waitingFor);
            progressUs += kProgressEveryUs;
        }
    }
    return true;
}

bool Stage::advanceUntilIdle(const std::string &waitingFor, double limitS) {
    return advanceUntil(waitingFor, limitS, vcam::isIdle);
}

void Stage::send(const std::string &meaning, const std::vector<uint8_t> &bytes) {
    vcam::controllerSends(bytes);
    report(meaning + "  " + spellBytes(bytes));
}

void Stage::inquire(const std::string &meaning, const std::vector<uint8_t> &bytes,
                    const std::vector<uint8_t> &expected) {
    showLines();
    vcam::cameraSent(); // whatever came before
    send(meaning, bytes);
    const bool isTellingLater = isTelling; // this one is shown here
    isTelling = false;
    advanceUs(framePeriodUs);
    isTelling = isTellingLater;
    const std::vector<uint8_t> reply = vcam::cameraSent();
    report("    reply: " + spellBytes(reply));
    check(reply == expected, meaning + " is answered " + spellBytes(expected));
}

void Stage::hold(const std::string &meaning, const std::vector<uint8_t> &start, int64_t us,
                 const std::vector<uint8_t> &stop) {
    enterPhase(meaning);
    send("controller: " + meaning, start);
    advanceUs(us);
    send("controller: stop", stop);
}

// ---- Steps that every story has ----

void Stage::boot() {
    enterPhase("finding home");
    if (advanceUntil("finding home", kBootLimitS, [] { return countSavedPositions() > 0; }))
        report("home found, parked at wide / infinity");
    checkCountersTrue("after homing");
    awaitRun("first autofocus");
}

void Stage::awaitRun(const std::string &name) {
    const int64_t frames = vcam::frameCount();
    enterPhase("autofocus");
    const bool isDone = advanceUntilIdle(name, kRunLimitS);
    enterPhase("");
    if (isDone)
        report(name + " done, " + std::to_string(vcam::frameCount() - frames) + " frames");
    checkCountersTrue(name);
    checkSharp(name);
    if (isTelling)
        judgeVerdict(name);
}

/// The library's own verdict of the run, which waits for a frame more, against the truth.
void Stage::judgeVerdict(const std::string &name) {
    advanceUs(kVerdictUs);
    AF_Status_ST status = {};
    status.size = sizeof status;
    AF_Manager_Get_Status_API(&status);
    const bool isSharp = std::fabs(vcam::focusErrorHalfDepths()) <= kMostCalledFocused;
    check(isSharp || status.runOutcome != AF_OUTCOME_FOCUSED,
          name + ": the library calls it " + nameOutcome(status.runOutcome));
}

// ---- Verdict ----

void Stage::check(bool isGood, const std::string &what) {
    if (!isGood)
        checksFailed += 1;
    fprintf(stdout, "%9s  %s %s\n", "", isGood ? "[good]" : "[BAD] ", what.c_str());
    fflush(stdout);
}

void Stage::checkCountersTrue(const std::string &when) {
    check(vcam::areCountersTrue(), when + ": the counters equal the truth");
}

void Stage::checkSharp(const std::string &when) {
    char text[160];
    const double error = vcam::focusErrorHalfDepths();
    snprintf(text, sizeof text, "%s: sharp, %.2f half depths of focus off", when.c_str(), error);
    check(std::fabs(error) <= kSharpHalfDepths, text);
}

void complainOf(const std::string &path, const char *reason) {
    fprintf(stderr, "demo: %s: can't be written: %s\n", path.c_str(), reason);
}

void Stage::checkWritten(bool isWhole, const std::string &name) {
    if (isWhole)
        return;
    complainOf(out + "/" + name, strerror(errno));
    check(false, name + " is written");
}

/// The host keeps the lens's position from the first home search on: a store that refuses shows.
static bool isPositionKept(const FileStore &store) {
    unsigned record[2];
    return countSavedPositions() == 0 || store.read("MotorPosition", record, sizeof record);
}

int Stage::giveVerdict() {
    for (const std::string &violation : vcam::violations())
        fprintf(stdout, "%9s  violation: %s\n", "", violation.c_str());
    check(vcam::violationCount() == 0, "the hardware had nothing to complain of");
    check(vcam::lostSteps(Axis::Zoom) == 0 && vcam::lostSteps(Axis::Focus) == 0,
          "no motor was driven against its stop");
    if (!isPositionKept(store)) {
        complainOf(store.path() + "/MotorPosition", "the record is missing");
        check(false, "the host keeps the lens's position");
    }
    if (!vcam::powerOff())
        check(false, "the camera's files are written");
    if (checksFailed == 0)
        fprintf(stdout, "\nVERDICT: good\n");
    else
        fprintf(stdout, "\nVERDICT: BAD, %d checks failed\n", checksFailed);
    fflush(stdout);
    return checksFailed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace demo
