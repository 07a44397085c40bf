#include "rivals/rivals.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace lab {

static constexpr int kCoarseLooks = 10;
static constexpr int kFramesALook = 5;
static constexpr double kClimbHalfDepths = 8;
static constexpr double kFall = 0.02; // of the highest: less is taken for noise
static constexpr int kMostTurns = 4;
static constexpr int kMostRounds = 8;

namespace {
struct Sample {
    double position;
    double value;
};
} // namespace

static int toStep(double position) {
    return static_cast<int>(std::lround(position));
}

static bool isLower(const Sample &one, const Sample &other) {
    return one.value < other.value;
}

/// Samples at even distances; the ends of the range have no parabola.
static double findVertex(const std::vector<Sample> &samples) {
    const auto top = std::max_element(samples.begin(), samples.end(), isLower);
    if (top == samples.begin() || top + 1 == samples.end())
        return top->position;
    const double before = (top - 1)->value;
    const double after = (top + 1)->value;
    const double curvature = before - 2 * top->value + after;
    const double step = ((top + 1)->position - (top - 1)->position) / 2;
    const double share = curvature < 0 ? (before - after) / (2 * curvature) : 0;
    return top->position + std::clamp(share, -1.0, 1.0) * step;
}

static std::vector<Sample> scan(RivalLens &lens, double from, double to, double step, int frames) {
    std::vector<Sample> samples;
    const auto sections = static_cast<int>(std::floor((to - from) / step));
    for (int section = 0; section <= sections; ++section) {
        const double position = from + section * step;
        samples.push_back({position, lens.lookAt(toStep(position), frames)});
    }
    return samples;
}

/// No step is shorter than a motor step.
static double fineStep() {
    return std::max(1.0, std::floor(RivalLens::halfDepth()));
}

void scanFully(RivalLens &lens) {
    const FocusRange range = lens.range();
    lens.moveTo(toStep(findVertex(scan(lens, range.near, range.far, fineStep(), 1))));
}

void searchByGoldenSection(RivalLens &lens) {
    const double section = (std::sqrt(5.0) - 1) / 2;
    double near = lens.range().near;
    double far = lens.range().far;
    Sample low = {far - section * (far - near), 0};
    Sample high = {near + section * (far - near), 0};
    low.value = lens.lookAt(toStep(low.position));
    high.value = lens.lookAt(toStep(high.position));
    while (far - near > fineStep()) {
        if (isLower(low, high)) {
            near = low.position;
            low = high;
            high.position = near + section * (far - near);
            high.value = lens.lookAt(toStep(high.position));
        } else {
            far = high.position;
            high = low;
            low.position = far - section * (far - near);
            low.value = lens.lookAt(toStep(low.position));
        }
    }
    lens.moveTo(toStep((near + far) / 2));
}

namespace {
/// A climb in one direction: its samples, and whether it went over a top.
struct Climb {
    std::vector<Sample> samples;
    bool hasFallen = false;
};
} // namespace

static double highestOf(const std::vector<Sample> &samples) {
    return std::max_element(samples.begin(), samples.end(), isLower)->value;
}

static Climb climb(RivalLens &lens, double step) {
    const FocusRange range = lens.range();
    Climb way;
    double position = RivalLens::position();
    way.samples.push_back({position, lens.look()});
    while (!way.hasFallen) {
        position += step;
        if (position < range.near || position > range.far)
            break;
        way.samples.push_back({position, lens.lookAt(toStep(position))});
        way.hasFallen = way.samples.back().value < highestOf(way.samples) * (1 - kFall);
    }
    return way;
}

/// Whether a climb met its top on the way, not where it began.
static bool isOverTop(const Climb &way) {
    return way.hasFallen && way.samples.front().value < highestOf(way.samples);
}

void climbHill(RivalLens &lens) {
    double step = std::max(2.0, std::floor(kClimbHalfDepths * RivalLens::halfDepth()));
    Climb way = climb(lens, step);
    for (int turns = 0; turns < kMostTurns && !isOverTop(way); ++turns) {
        step = -step;
        way = climb(lens, step);
    }
    way = climb(lens, step > 0 ? -fineStep() : fineStep());
    lens.moveTo(toStep(findVertex(way.samples)));
}

void scanCoarseToFine(RivalLens &lens) {
    FocusRange range = lens.range();
    for (int round = 0; round < kMostRounds; ++round) {
        const double step =
            std::max(1.0, static_cast<double>(range.far - range.near) / (kCoarseLooks - 1));
        const std::vector<Sample> samples =
            scan(lens, range.near, range.far + step / 2, step, kFramesALook);
        const double top = std::max_element(samples.begin(), samples.end(), isLower)->position;
        if (step <= fineStep()) {
            lens.moveTo(toStep(findVertex(samples)));
            return;
        }
        range = {toStep(top - step), toStep(top + step)};
    }
}

void seekBlur(RivalLens &lens) {
    const FocusRange range = lens.range();
    const double step = static_cast<double>(range.far - range.near) / (kCoarseLooks - 1);
    const std::vector<Sample> samples = scan(lens, range.near, range.far, step, 1);
    lens.moveTo(toStep(std::min_element(samples.begin(), samples.end(), isLower)->position));
}

} // namespace lab
