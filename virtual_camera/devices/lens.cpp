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
#include "flaws/flaws.h"
#include "lens_models/lens_model.h"

namespace vcam {

static constexpr int kStopMargin = 24; // steps between the end of the travel and the hard stop
static constexpr size_t kRunsKept = 64;
static constexpr int kMostSlip = 4;
static constexpr uint64_t kStartPurpose = 1;
static constexpr uint64_t kSlipPurpose = 4;

namespace {
struct Run {
    int64_t startUs = 0;
    double stepUs = 1;
    int from = kTravelStart;
    int direction = 1;
    int steps = 0;
    int slackFrom = 0; // group less motor
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
static SeededRandom slips(1, kSlipPurpose);

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

/// Group less motor: the group stays while the motor takes up the slack.
static int slackInRun(const AxisState &state, const Run &run, int64_t timeUs) {
    const bool isZoom = &state == &axes[0];
    const int backlash = isZoom ? flaws().backlashZoom : flaws().backlashFocus;
    const bool meetsEdgeUpward = state.model.levelAboveEdge != 0;
    const int moved = positionInRun(state, run, timeUs) - run.from;
    return std::clamp(run.slackFrom - moved, meetsEdgeUpward ? 0 : -backlash,
                      meetsEdgeUpward ? backlash : 0);
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
    const int slack = slackInRun(state, last, now);
    state.newest = (state.newest + 1) % kRunsKept;
    Run &run = state.runs[state.newest];
    run = Run{};
    run.startUs = now;
    run.from = from;
    run.slackFrom = slack;
    return run;
}

/// The run of an instant, or the oldest that is kept, whose start comes after it.
static const Run &runAt(const AxisState &state, int64_t timeUs) {
    for (size_t back = 0; back + 1 < kRunsKept; ++back) {
        const Run &run = state.runs[(state.newest + kRunsKept - back) % kRunsKept];
        if (run.startUs <= timeUs)
            return run;
    }
    return state.runs[(state.newest + 1) % kRunsKept];
}

int truePositionAt(Axis axis, int64_t timeUs) {
    const AxisState &state = stateOf(axis);
    return positionInRun(state, runAt(state, timeUs), timeUs);
}

int groupPositionAt(Axis axis, int64_t timeUs) {
    const AxisState &state = stateOf(axis);
    return truePositionAt(axis, timeUs) + slackInRun(state, runAt(state, timeUs), timeUs);
}

int groupPosition(Axis axis) {
    return groupPositionAt(axis, nowUs());
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

/// Of a run of so many steps.
static int drawSlip(Axis axis, int steps) {
    if (flaws().slip == 0 || slips.drawUnit() >= flaws().slip)
        return 0;
    const int lost = std::min(steps, slips.drawBetween(1, kMostSlip));
    trace("lens", "slip", "axis=%s steps=%d", nameOf(axis), lost);
    return lost;
}

void runMotor(Axis axis, int direction, int steps, double stepUs) {
    const int lost = drawSlip(axis, steps);
    Run &run = beginRun(axis);
    run.direction = direction;
    run.steps = steps - lost;
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
    const bool isAbove = groupPosition(axis) >= kTravelStart + state.model.edge;
    return isAbove ? state.model.levelAboveEdge : 1 - state.model.levelAboveEdge;
}

void stickPhotoInterrupter(Axis axis, int level) {
    stateOf(axis).stuckLevel = level;
    trace("lens", "stick", "axis=%s level=%d", nameOf(axis), level);
}

void powerOnLens(const CameraOptions &options) {
    SeededRandom random(options.seed, kStartPurpose);
    const int asked[2] = {options.zoomStart, options.focusStart};
    slips = SeededRandom(options.seed, kSlipPurpose);
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
