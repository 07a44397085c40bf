// The curves are tabulated once at power-on on the zoom grid, the unit's offset included, and
// interpolated in the true zoom position. Pure functions of position and distance otherwise.
#include "optics/lens_curves.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "clock/seeded_random.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "flaws/flaws.h"
#include "lens_models/curve_table.h"
#include "lens_models/lens_model.h"
#include "optics/optical_model.h"
#include "optics/scene.h"

namespace vcam {

static constexpr double kPi = 3.14159265358979323846;
static constexpr uint64_t kUnitPurpose = 2;
static constexpr double kTwoMetreDioptres = 0.5;
static constexpr double kMicrometresPerMm = 1000;
static constexpr double kMmPerM = 1000;

using Curve = std::array<double, kGridPoints>;

namespace {
struct Unit {
    std::array<double, kGridPoints> zoom{};
    Curve infinity{};
    Curve twoMetres{};
};
} // namespace

static Unit unit;

namespace {
/// Where a zoom position lies on the grid: the point at or below it and the share of the way on.
struct GridPlace {
    size_t point;
    double share;
};
} // namespace

static void layGrid(int start) {
    int zoom = start;
    auto *point = unit.zoom.begin();
    for (int section = 0; section < kTagPoints - 1; ++section) {
        const int steps = kSectionSteps[section] / kQuarters;
        for (int quarter = 0; quarter < kQuarters; ++quarter)
            *point++ = zoom + quarter * steps;
        zoom += kSectionSteps[section];
    }
    unit.zoom.back() = zoom;
}

/// The quarters of an even section take a whole number of steps each; the third takes one more
/// when the fall does not divide by four, the last what is left.
static Curve expand(const CurveTable &table) {
    Curve curve{};
    auto *point = curve.begin();
    for (int section = 0; section < kEvenSections; ++section) {
        const int from = table.tags[section];
        const int to = section + 1 < kEvenSections ? table.tags[section + 1] : table.grid[0];
        const int quarterFall = (from - to) / kQuarters;
        const int extra = (from - to) % kQuarters > 0 ? 1 : 0;
        for (int quarter = 0; quarter < kQuarters; ++quarter) {
            const int fall = quarter * quarterFall + (quarter == kQuarters - 1 ? extra : 0);
            *point++ = from - fall;
        }
    }
    std::copy(std::begin(table.grid), std::end(table.grid), point);
    return curve;
}

static GridPlace findPlace(double zoom) {
    const auto *const above = std::upper_bound(unit.zoom.begin() + 1, unit.zoom.end() - 1, zoom);
    const auto point = static_cast<size_t>(above - unit.zoom.begin()) - 1;
    const double width = unit.zoom[point + 1] - unit.zoom[point];
    return {point, (zoom - unit.zoom[point]) / width};
}

static double interpolate(const Curve &curve, GridPlace place) {
    return curve[place.point] + (curve[place.point + 1] - curve[place.point]) * place.share;
}

/// How this unit differs: a constant and two gentle waves, the same for every distance.
static void bendUnit(uint64_t seed) {
    SeededRandom random(seed, kUnitPurpose);
    constexpr double kFirstWaveShare = 0.6;
    const double offset = random.drawBetween(-kOptics.mostOffset, kOptics.mostOffset);
    const double first = (2 * random.drawUnit() - 1) * kOptics.mostBend * kFirstWaveShare;
    const double second = (2 * random.drawUnit() - 1) * kOptics.mostBend * (1 - kFirstWaveShare);
    for (size_t point = 0; point < kGridPoints; ++point) {
        const double phase = kPi * zoomShareAt(unit.zoom[point]);
        const double bend = offset + first * std::sin(phase) + second * std::sin(2 * phase);
        unit.infinity[point] += bend;
        unit.twoMetres[point] += bend;
    }
}

double inFocusPositionAt(double zoom, double dioptres) {
    const GridPlace place = findPlace(zoom);
    const double infinity = interpolate(unit.infinity, place);
    return infinity + flaws().drift -
           (infinity - interpolate(unit.twoMetres, place)) * dioptres / kTwoMetreDioptres;
}

double zoomShareAt(double zoom) {
    const double share = (zoom - unit.zoom.front()) / (unit.zoom.back() - unit.zoom.front());
    return std::clamp(share, 0.0, 1.0);
}

double focalLengthMmAt(double zoom) {
    return kOptics.wideFocalMm * zoomFactorAt(zoom);
}

double zoomFactorAt(double zoom) {
    return std::pow(kOptics.teleFocalMm / kOptics.wideFocalMm, zoomShareAt(zoom));
}

double fNumberAt(double zoom) {
    return kOptics.wideFNumber + (kOptics.teleFNumber - kOptics.wideFNumber) * zoomShareAt(zoom);
}

double halfDepthStepsAt(double zoom) {
    const double stepsPerDioptre =
        (inFocusPositionAt(zoom, 0) - inFocusPositionAt(zoom, kTwoMetreDioptres)) /
        kTwoMetreDioptres;
    const double focalMm = focalLengthMmAt(zoom);
    const double umPerStep = focalMm * focalMm * kMicrometresPerMm / kMmPerM / stepsPerDioptre;
    return fNumberAt(zoom) * kOptics.circleUm / umPerStep;
}

double inFocusPosition() {
    return inFocusPositionAt(groupPosition(Axis::Zoom), objectDioptresAt(nowUs()));
}

double focusErrorHalfDepthsAt(double zoom, double focus, double dioptres) {
    return (focus - inFocusPositionAt(zoom, dioptres)) / halfDepthStepsAt(zoom);
}

double focusErrorHalfDepths() {
    return focusErrorHalfDepthsAt(groupPosition(Axis::Zoom), groupPosition(Axis::Focus),
                                  objectDioptresAt(nowUs()));
}

void powerOnLensCurves(const CameraOptions &options) {
    const LensModel &lens = lensModelOf(options.lensType);
    layGrid(lens.gridStart);
    unit.infinity = expand(*lens.infinity);
    unit.twoMetres = expand(*lens.twoMetres);
    if (!options.builtInCurves)
        bendUnit(options.seed);
}

} // namespace vcam
