// Positions are kept as runs: where the axis stood when a run began, and how its steps spread in
// time. Nothing moves by itself; a position is worked out when somebody asks. Any thread, one at a
// time, as the virtual clock guarantees.
#include "devices/lens.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "clock/seeded_random.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "lens_models/lens_model.h"

namespace vcam {

static constexpr int kStopMargin = 24; // steps between the end of the travel and the hard stop
static constexpr size_t kRunsKept = 8;
static constexpr uint64_t kStartPurpose = 1;

namespace {
struct Run {
    int64_t startUs = 0;
    double stepUs = 1;
    int from = kTravelStart;
    int direction = 1;
    int steps = 0;
};

struct AxisState {
    std::array<Run, kRunsKept> runs; // the newest at index `newest`, older ones before it, a ring
    size_t newest = 0;
    long lost = 0; // by runs that are over
    int stuckLevel = -1;
    AxisModel model{};
};
} // namespace

static AxisState axes[2];

static AxisState &stateOf(Axis axis) {
    return axes[axis == Axis::Zoom ? 0 : 1];
}

static const char *nameOf(Axis axis) {
    return axis == Axis::Zoom ? "zoom" : "focus";
}

static int countSteps(const Run &run, int64_t timeUs) {
    const auto elapsedUs = static_cast<double>(timeUs - run.startUs);
    if (elapsedUs >= run.stepUs * run.steps)
        return run.steps;
    return std::max(0, static_cast<int>(elapsedUs / run.stepUs));
}

static int limitToStops(const AxisState &state, int position) {
    return std::clamp(position, kTravelStart - kStopMargin,
                      kTravelStart + state.model.travel + kStopMargin);
}

static int positionInRun(const AxisState &state, const Run &run, int64_t timeUs) {
    return limitToStops(state, run.from + run.direction * countSteps(run, timeUs));
}

static int lostInRun(const AxisState &state, const Run &run, int64_t timeUs) {
    const int wanted = run.from + run.direction * countSteps(run, timeUs);
    return std::abs(wanted - limitToStops(state, wanted));
}

/// Ends the newest run where it stands now and opens another from there.
static Run &beginRun(Axis axis) {
    AxisState &state = stateOf(axis);
    const int64_t now = nowUs();
    Run &last = state.runs[state.newest];
    last.steps = countSteps(last, now);
    if (const int lost = lostInRun(state, last, now); lost != 0) {
        state.lost += lost;
        trace("lens", "lost", "axis=%s steps=%d total=%ld", nameOf(axis), lost, state.lost);
    }
    const int from = positionInRun(state, last, now);
    state.newest = (state.newest + 1) % kRunsKept;
    Run &run = state.runs[state.newest];
    run = Run{};
    run.startUs = now;
    run.from = from;
    return run;
}

int truePositionAt(Axis axis, int64_t timeUs) {
    const AxisState &state = stateOf(axis);
    for (size_t back = 0; back < kRunsKept; ++back) {
        const Run &run = state.runs[(state.newest + kRunsKept - back) % kRunsKept];
        if (run.startUs <= timeUs)
            return positionInRun(state, run, timeUs);
    }
    return state.runs[(state.newest + 1) % kRunsKept].from;
}

int truePosition(Axis axis) {
    return truePositionAt(axis, nowUs());
}

void placeAt(Axis axis, int position) {
    beginRun(axis).from = limitToStops(stateOf(axis), position);
    trace("lens", "place", "axis=%s position=%d", nameOf(axis), truePosition(axis));
}

long lostSteps(Axis axis) {
    const AxisState &state = stateOf(axis);
    return state.lost + lostInRun(state, state.runs[state.newest], nowUs());
}

int travelEnd(Axis axis) {
    return kTravelStart + stateOf(axis).model.travel;
}

void runMotor(Axis axis, int direction, int steps, double stepUs) {
    Run &run = beginRun(axis);
    run.direction = direction;
    run.steps = steps;
    run.stepUs = stepUs;
}

void stopMotor(Axis axis) {
    beginRun(axis);
}

bool isMotorRunning(Axis axis) {
    const AxisState &state = stateOf(axis);
    const Run &run = state.runs[state.newest];
    return countSteps(run, nowUs()) < run.steps;
}

int readPhotoInterrupter(Axis axis) {
    const AxisState &state = stateOf(axis);
    if (state.stuckLevel >= 0)
        return state.stuckLevel;
    const bool isAbove = truePosition(axis) >= kTravelStart + state.model.edge;
    return isAbove ? state.model.levelAboveEdge : 1 - state.model.levelAboveEdge;
}

void stickPhotoInterrupter(Axis axis, int level) {
    stateOf(axis).stuckLevel = level;
    trace("lens", "stick", "axis=%s level=%d", nameOf(axis), level);
}

void powerOnLens(const CameraOptions &options) {
    SeededRandom random(options.seed, kStartPurpose);
    const int asked[2] = {options.zoomStart, options.focusStart};
    for (const Axis axis : {Axis::Zoom, Axis::Focus}) {
        AxisState &state = stateOf(axis);
        const int index = axis == Axis::Zoom ? 0 : 1;
        state = AxisState{};
        state.model = lensModelOf(options.lensType).axes[index];
        const int drawn = random.drawBetween(kTravelStart, travelEnd(axis));
        const int start = limitToStops(state, asked[index] >= 0 ? asked[index] : drawn);
        for (Run &run : state.runs)
            run.from = start;
        trace("lens", "start", "axis=%s position=%d", nameOf(axis), start);
    }
}

} // namespace vcam
