// A calibrated unit has measured its curve in a life before: a camera of its own, whose host keeps
// the line and hands it to the library of the next one.
#include "tracking_kind.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "autofocus.h"
#include "autofocus/lens_state.h"
#include "autofocus_control.h"
#include "camera.h"
#include "camera_options.h"
#include "cell.h"
#include "clock/seeded_random.h"
#include "devices/lens.h"
#include "host/lens_watch.h"
#include "host/memory_host.h"
#include "host/workers.h"
#include "optics/lens_curves.h"
#include "platform/shared_word.h"
#include "row_text.h"
#include "stage.h"

namespace lab {

static constexpr int kRunsPerUnit = 8;
static constexpr uint64_t kTrackingPurpose = 93;
static constexpr int64_t kLookUs = 40000;
static constexpr int64_t kLimitUs = 60000000;
static constexpr int kCalibrationMs = 1800000;
static constexpr size_t kParts = 4;

// ---- Calibrating

namespace {
struct MeasuredLine {
    FOCUS_POINT line;
    bool isMeasured;
};
} // namespace

[[noreturn]] static void calibrate(const Cell &cell, vcam::CameraOptions camera,
                                   MeasuredLine &measured) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    camera.night = false;
    camera.objectDistanceM = HUGE_VAL;
    camera.traceFile.clear();
    vcam::powerOn(camera);
    if (startCamera(cell, camera)) {
        const int outcome = AF_Manager_Wait_Ticket_API(AF_Manager_Calibrate_API(), kCalibrationMs);
        measured.isMeasured = outcome == AF_OUTCOME_DONE && vcam::host().savedFocusLines > 0;
        measured.line = vcam::host().focusLine;
    }
    vcam::powerOff();
    _exit(EXIT_SUCCESS);
}

static void prepareUnit(const Cell &cell, const vcam::CameraOptions &camera) {
    if (settingOf(cell, "calibrated") != "1")
        return;
    auto *const measured = vcam::share<MeasuredLine>();
    const pid_t child = fork();
    if (child == 0)
        calibrate(cell, camera, *measured);
    waitpid(child, nullptr, 0);
    vcam::host().hasFocusLine = measured->isMeasured;
    vcam::host().focusLine = measured->line;
    munmap(measured, sizeof *measured);
}

// ---- Zooming

/// A zoom from one end to the other, the object in focus where it begins.
static Place drawStart(vcam::SeededRandom &random, double nearestM, bool isTele) {
    Place place = drawPlace(random, nearestM);
    place.zoom = static_cast<int>(isTele ? ZM_Wide_Limit : ZM_Tele_Limit);
    place.zoomedTele = !isTele;
    place.focus =
        static_cast<int>(std::lround(vcam::inFocusPositionAt(place.zoom, place.dioptres)));
    return place;
}

namespace {
/// Errors of the way, in half depths.
struct Way {
    std::array<double, kParts> worst{}; ///< By quarters of the zoom's travel, wide to tele.
    double last = 0;
};
} // namespace

static void follow(Way &way) {
    const double share = vcam::zoomShareAt(vcam::groupPosition(vcam::Axis::Zoom));
    const auto part = std::min(static_cast<size_t>(share * kParts), kParts - 1);
    way.last = errorHalfDepths();
    way.worst[part] = std::max(way.worst[part], std::fabs(way.last));
}

/// The order that zooms stands until another comes.
static Way zoomThrough(bool isTele) {
    const auto end = static_cast<int>(isTele ? ZM_Tele_Limit : ZM_Wide_Limit);
    const int ticket = isTele ? AF_Manager_Zoom_Tele_API() : AF_Manager_Zoom_Wide_API();
    Way way;
    vcam::awaitUntil(
        [&] {
            follow(way);
            return static_cast<int>(loadWord(&ZM_Step_Local)) == end ||
                   AF_Manager_Wait_Ticket_API(ticket, 0) != AF_OUTCOME_NONE;
        },
        kLimitUs, kLookUs);
    return way;
}

static RowText playRun(const Cell &cell, const vcam::CameraOptions &camera, long run) {
    vcam::SeededRandom random(static_cast<uint64_t>(run), kTrackingPurpose);
    const bool isTele = run % 2 == 0;
    const Place place = drawStart(random, atof(settingOf(cell, "nearest").c_str()), isTele);
    takePlace(place, settingOf(cell, "distance").empty());
    focusOnce(cell);
    rest();
    const double startError = errorHalfDepths();
    const Way way = zoomThrough(isTele);
    const int ticket = AF_Manager_Zoom_Stop_API();
    AF_Manager_Wait_Ticket_API(ticket, static_cast<int>(kLimitUs / 1000));
    char row[200];
    snprintf(row, sizeof row, "%ld,%s,%s,%.3f,%.3f,%.2f,%.2f,%.2f,%.2f,%.2f,%.3f", run,
             camera.lensType == 0 ? "A" : "B", isTele ? "tele" : "wide", place.dioptres,
             roundTo(startError, 0.001), roundTo(way.worst[0], 0.01), roundTo(way.worst[1], 0.01),
             roundTo(way.worst[2], 0.01), roundTo(way.worst[3], 0.01), roundTo(way.last, 0.01),
             roundTo(errorHalfDepths(), 0.001));
    awaitIdle();
    return row;
}

static std::vector<RowText> playUnit(const Cell &cell, const vcam::CameraOptions &camera,
                                     long unit) {
    return playRuns(cell, camera, unit * kRunsPerUnit, kRunsPerUnit, playRun);
}

Kind makeTrackingKind() {
    return {"tracking",
            "a zoom from end to end: how far the focus is off on the way",
            kRunsPerUnit,
            {{"run", "INTEGER"},
             {"lens", "TEXT"},
             {"direction", "TEXT"},
             {"dioptres", "REAL"},
             {"start_error", "REAL"},
             {"worst_1", "REAL"},
             {"worst_2", "REAL"},
             {"worst_3", "REAL"},
             {"worst_4", "REAL"},
             {"last", "REAL"},
             {"error", "REAL"}},
            prepareUnit,
            playUnit};
}

} // namespace lab
