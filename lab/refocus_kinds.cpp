// Every run begins with an autofocus at a random zoom on a random object; what comes then differs.
#include "refocus_kinds.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "autofocus/mailbox.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "camera_options.h"
#include "cell.h"
#include "clock/seeded_random.h"
#include "clock/virtual_clock.h"
#include "flaws/flaws.h"
#include "host/lens_watch.h"
#include "isp/isp.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "platform/shared_word.h"
#include "row_text.h"
#include "stage.h"

namespace lab {

static constexpr uint64_t kRefocusPurpose = 92;
static constexpr int64_t kUsPerS = 1000000;
static constexpr int kMinutes = 60;
static constexpr int kLooksAMinute = 60;
static constexpr int64_t kLookUs = 10000;
static constexpr int64_t kChangeLimitUs = 10 * kUsPerS;
static constexpr double kTwoMetreDioptres = 0.5;
static constexpr double kNearestDioptres = 1 / 1.5;

/// A random place, focused and at rest.
static Place focusSomewhere(const Cell &cell, vcam::SeededRandom &random) {
    const Place place = drawPlace(random, atof(settingOf(cell, "nearest").c_str()));
    takePlace(place, settingOf(cell, "distance").empty());
    focusOnce(cell);
    rest();
    return place;
}

static const char *nameLens(const vcam::CameraOptions &camera) {
    return camera.lensType == 0 ? "A" : "B";
}

using PlayRun = RowText (*)(const Cell &cell, const vcam::CameraOptions &camera, long run);

template <int Runs, PlayRun Play>
static std::vector<RowText> playUnit(const Cell &cell, const vcam::CameraOptions &camera,
                                     long unit) {
    std::vector<RowText> rows;
    if (!startCamera(cell, camera))
        return rows;
    for (int index = 0; index < Runs; ++index)
        rows.push_back(Play(cell, camera, unit * Runs + index));
    return rows;
}

// ---- Nothing happens

/// Look every second until a minute is over.
static void passMinute(double &worst) {
    for (int look = 0; look < kLooksAMinute; ++look) {
        vcam::sleepUs(kUsPerS);
        worst = std::max(worst, std::fabs(errorHalfDepths()));
    }
}

static RowText playStill(const Cell &cell, const vcam::CameraOptions &camera, long run) {
    vcam::SeededRandom random(static_cast<uint64_t>(run), kRefocusPurpose);
    const Place place = focusSomewhere(cell, random);
    const double startError = errorHalfDepths();
    const unsigned runs = countRuns();
    double worst = 0;
    for (int minute = 0; minute < kMinutes; ++minute)
        passMinute(worst);
    char row[120];
    snprintf(row, sizeof row, "%ld,%s,%d,%.3f,%.3f,%u,%.3f", run, nameLens(camera), place.zoom,
             place.dioptres, roundTo(startError, 0.001), countRuns() - runs, roundTo(worst, 0.001));
    return row;
}

Kind makeStillKind() {
    constexpr int kHours = 24;
    return {"still",
            "an hour in which nothing happens: how often it refocuses all the same",
            kHours,
            {{"run", "INTEGER"},
             {"lens", "TEXT"},
             {"zoom", "INTEGER"},
             {"dioptres", "REAL"},
             {"error", "REAL"},
             {"refocuses", "INTEGER"},
             {"worst", "REAL"}},
            nullptr,
            playUnit<kHours, playStill>};
}

// ---- The object changes its distance

/// By which the best focus moves, in half depths; one a run in turn.
static constexpr double kSizes[] = {0.5, 1, 2, 3, 4, 6, 8, 12, 16, 32};
static constexpr int kSizeCount = sizeof kSizes / sizeof kSizes[0];

/// Where an object stands whose best focus is @p halfDepths away; kept between infinity and near.
static double shiftObject(const Place &place, double halfDepths) {
    const double stepsPerDioptre = (vcam::inFocusPositionAt(place.zoom, 0) -
                                    vcam::inFocusPositionAt(place.zoom, kTwoMetreDioptres)) /
                                   kTwoMetreDioptres;
    const double change = halfDepths * vcam::halfDepthStepsAt(place.zoom) / stepsPerDioptre;
    const bool isRoomNear = place.dioptres + change <= kNearestDioptres;
    const double dioptres = isRoomNear ? place.dioptres + change : place.dioptres - change;
    return std::clamp(dioptres, 0.0, kNearestDioptres);
}

static bool hasBegun() {
    return Lens_Get_Command() == CMD_FOCUS || loadWord(&g_AutoCheckFlag) == 0;
}

static RowText playChange(const Cell &cell, const vcam::CameraOptions &camera, long run) {
    vcam::SeededRandom random(static_cast<uint64_t>(run), kRefocusPurpose);
    const Place place = focusSomewhere(cell, random);
    const double wanted = kSizes[run % kSizeCount];
    const double before = vcam::inFocusPosition();
    const double dioptres = shiftObject(place, wanted);
    vcam::setObjectDistanceM(dioptres > 0 ? 1 / dioptres : HUGE_VAL);
    const double size =
        std::fabs(vcam::inFocusPosition() - before) / vcam::halfDepthStepsAt(place.zoom);
    const double changed = errorHalfDepths();
    const int64_t frame = vcam::frameCount();
    const bool isSeen = vcam::awaitUntil(hasBegun, kChangeLimitUs, kLookUs);
    const int64_t latency = vcam::frameCount() - frame;
    if (isSeen)
        awaitIdle();
    char row[160];
    snprintf(row, sizeof row, "%ld,%s,%d,%.3f,%.1f,%.2f,%.3f,%ld,%ld,%.3f", run, nameLens(camera),
             place.zoom, place.dioptres, wanted, roundTo(size, 0.01), roundTo(changed, 0.001),
             isSeen ? static_cast<long>(latency) : -1L,
             static_cast<long>(vcam::frameCount() - frame), roundTo(errorHalfDepths(), 0.001));
    return row;
}

Kind makeChangeKind() {
    return {"change",
            "the object changes its distance: how soon it refocuses, and whether",
            2 * kSizeCount,
            {{"run", "INTEGER"},
             {"lens", "TEXT"},
             {"zoom", "INTEGER"},
             {"dioptres", "REAL"},
             {"wanted", "REAL"},
             {"size", "REAL"},
             {"changed_error", "REAL"},
             {"latency", "INTEGER"},
             {"frames", "INTEGER"},
             {"error", "REAL"}},
            nullptr,
            playUnit<2 * kSizeCount, playChange>};
}

// ---- The curves drift

static constexpr int kMostDrift = 32; // steps in an hour, either way

static RowText playDrift(const Cell &cell, const vcam::CameraOptions &camera, long run) {
    vcam::SeededRandom random(static_cast<uint64_t>(run), kRefocusPurpose);
    const Place place = focusSomewhere(cell, random);
    const int drift = random.drawBetween(-kMostDrift, kMostDrift);
    const unsigned runs = countRuns();
    const vcam::Flaws cold = vcam::flaws();
    vcam::Flaws warm = cold;
    double worst = 0;
    int blurredMinutes = 0;
    for (int minute = 1; minute <= kMinutes; ++minute) {
        warm.drift = cold.drift + static_cast<double>(drift) * minute / kMinutes;
        vcam::setFlaws(warm);
        passMinute(worst);
        blurredMinutes += std::fabs(errorHalfDepths()) > 1 ? 1 : 0;
    }
    char row[160];
    snprintf(row, sizeof row, "%ld,%s,%d,%.3f,%d,%.3f,%u,%d,%.3f,%.3f", run, nameLens(camera),
             place.zoom, place.dioptres, drift,
             roundTo(drift / vcam::halfDepthStepsAt(place.zoom), 0.001), countRuns() - runs,
             blurredMinutes, roundTo(worst, 0.001), roundTo(errorHalfDepths(), 0.001));
    vcam::setFlaws(cold);
    return row;
}

Kind makeDriftKind() {
    constexpr int kRuns = 4;
    return {"drift",
            "an hour in which the curves drift: how blurred it becomes",
            kRuns,
            {{"run", "INTEGER"},
             {"lens", "TEXT"},
             {"zoom", "INTEGER"},
             {"dioptres", "REAL"},
             {"drift", "INTEGER"},
             {"drift_half_depths", "REAL"},
             {"refocuses", "INTEGER"},
             {"blurred_minutes", "INTEGER"},
             {"worst", "REAL"},
             {"error", "REAL"}},
            nullptr,
            playUnit<kRuns, playDrift>};
}

} // namespace lab
