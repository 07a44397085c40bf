#include "stage.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "autofocus.h"
#include "autofocus/focus_lines.h"
#include "autofocus/lens_state.h"
#include "autofocus/moves.h"
#include "autofocus/settings.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "autofocus_control.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "flaws/flaws.h"
#include "host/lens_watch.h"
#include "host/memory_host.h"
#include "isp/isp.h"
#include "optics/lens_curves.h"
#include "optics/scene.h"
#include "platform/shared_word.h"
#include "rivals/rival_lens.h"
#include "searches.h"

namespace lab {

static constexpr int64_t kUsPerMs = 1000;
static constexpr int64_t kLookUs = 10000;     // one VD period of a focus move
static constexpr int64_t kPollUs = 60000;     // the lens-control thread has looked at the mailbox
static constexpr int64_t kLimitUs = 60000000; // of anything that ends by itself
static constexpr int64_t kLightStepUs = 400000;
static constexpr int kSettleFrames = 5; // more than any statistics come late
static constexpr int kRestFrames = 22;
static constexpr int kRunUp = 30; // steps with which a lens arrives where a run begins
static constexpr int kQuarters = 4;
static constexpr int kGridPoints = 60;
static constexpr int kShareOffGrid = 5; // one of so many
static constexpr int kMarginSteps = 100;
static constexpr double kAtInfinity = 0.01; // dioptres

// ---- Starting

bool awaitIdle() {
    return vcam::awaitUntil(vcam::isIdle, kLimitUs, kLookUs);
}

bool startCamera(const Cell &cell, const vcam::CameraOptions &camera) {
    g_LensType = camera.lensType;
    g_ICUTState = camera.night ? 1 : 0;
    vcam::introduceHost();
    if (!makeLibrarySettings(cell) || AF_Manager_Start_API() != 0)
        return false;
    const auto isParked = [] { return !vcam::host().savedPositions.empty(); };
    return vcam::awaitUntil(isParked, kLimitUs, kLookUs) && awaitIdle();
}

std::vector<RowText>
playRuns(const Cell &cell, const vcam::CameraOptions &camera, long first, int count,
         RowText (*playRun)(const Cell &cell, const vcam::CameraOptions &camera, long run)) {
    std::vector<RowText> rows;
    if (!startCamera(cell, camera))
        return rows;
    for (int index = 0; index < count; ++index)
        rows.push_back(playRun(cell, camera, first + index));
    return rows;
}

// ---- Placing

static int drawZoom(vcam::SeededRandom &random, bool isOnGrid) {
    const auto wide = static_cast<int>(ZM_Wide_Limit);
    const auto tele = static_cast<int>(ZM_Tele_Limit);
    if (!isOnGrid)
        return random.drawBetween(wide, tele);
    const int point = random.drawBetween(0, kGridPoints - 1);
    const auto from = static_cast<int>(ZM_Step_Run[point / kQuarters]);
    const auto to = static_cast<int>(ZM_Step_Run[point / kQuarters + 1]);
    return std::min(from + (to - from) / kQuarters * (point % kQuarters), tele);
}

static int drawFocus(vcam::SeededRandom &random, int zoom, double nearestM) {
    const double nearest = vcam::inFocusPositionAt(zoom, 1 / nearestM) - kMarginSteps;
    const double farthest = vcam::inFocusPositionAt(zoom, 0) + kMarginSteps;
    const auto from = static_cast<int>(std::lround(nearest));
    const auto to = static_cast<int>(std::lround(farthest));
    const auto least = static_cast<int>(FM_Near_Limit) + kRunUp;
    const auto most = static_cast<int>(FM_Far_Limit) - kRunUp;
    return std::clamp(random.drawBetween(from, to), least, most);
}

Place drawPlace(vcam::SeededRandom &random, double nearestM) {
    Place place;
    place.isOnGrid = random.drawBetween(1, kShareOffGrid) > 1;
    place.zoom = drawZoom(random, place.isOnGrid);
    const double dioptres = random.drawUnit() / nearestM;
    place.dioptres = dioptres > kAtInfinity ? std::round(dioptres * 1000) / 1000 : 0;
    place.focus = drawFocus(random, place.zoom, nearestM);
    place.comesFromNear = random.drawBetween(0, 1) == 0;
    place.zoomedTele = random.drawBetween(0, 1) == 0;
    return place;
}

void passFrames(int frames) {
    const int64_t until = vcam::frameCount() + frames;
    vcam::awaitUntil([until] { return vcam::frameCount() >= until; }, kLimitUs, kLookUs);
}

void rest() {
    passFrames(kRestFrames);
}

/// The run-up takes up what play there is, as whatever brought the lens here would have.
static void arrive(const Place &place) {
    vcam::trace("lab", "place", "dioptres=%.3f at=%d %d %s %s", place.dioptres, place.zoom,
                place.focus, place.comesFromNear ? "near" : "far",
                place.zoomedTele ? "tele" : "wide");
    const int from = place.comesFromNear ? place.focus - kRunUp : place.focus + kRunUp;
    vcam::placeAt(vcam::Axis::Zoom, place.zoom);
    vcam::placeAt(vcam::Axis::Focus, from);
    storeWord(&ZM_Step_Local, static_cast<unsigned>(place.zoom));
    storeWord(&FM_Step_Local, static_cast<unsigned>(from));
    storeWord(&g_ZoomDir, place.zoomedTele ? MS_Z_TELE : MS_Z_WIDE);
    lensMotorFocusRunSteps(place.comesFromNear ? MS_F_FAR : MS_F_NEAR, kRunUp);
}

void takePlace(const Place &place, bool isObjectSet) {
    vcam::command(CMD_MFMODE);
    vcam::sleepUs(kPollUs);
    if (isObjectSet)
        vcam::setObjectDistanceM(place.dioptres > 0 ? 1 / place.dioptres : HUGE_VAL);
    arrive(place);
    passFrames(kSettleFrames);
}

// ---- Watching

double errorHalfDepths() {
    const double first = vcam::focusErrorHalfDepths();
    const double secondM = vcam::flaws().secondDistanceM;
    if (secondM == 0)
        return first;
    const int zoom = vcam::groupPosition(vcam::Axis::Zoom);
    const double away =
        vcam::groupPosition(vcam::Axis::Focus) - vcam::inFocusPositionAt(zoom, 1 / secondM);
    const double second = away / vcam::halfDepthStepsAt(zoom);
    return std::fabs(second) < std::fabs(first) ? second : first;
}

namespace {
/// The focus motor's way, as the library counts it.
struct Way {
    int position = static_cast<int>(loadWord(&FM_Step_Local));
    int direction = 0;
    int reversals = 0;
    int64_t steps = 0;
};
} // namespace

static void follow(Way &way) {
    const auto now = static_cast<int>(loadWord(&FM_Step_Local));
    if (now == way.position)
        return;
    const int heading = now > way.position ? 1 : -1;
    way.reversals += way.direction != 0 && heading != way.direction ? 1 : 0;
    way.steps += std::abs(now - way.position);
    way.direction = heading;
    way.position = now;
}

static AF_Status_ST readStatus() {
    AF_Status_ST status = {};
    status.size = sizeof status;
    AF_Manager_Get_Status_API(&status);
    return status;
}

unsigned countRuns() {
    return readStatus().runs;
}

/// What makes the built-in search begin with its wide search.
static bool isFarOut() {
    constexpr unsigned kLowContrast = 1600;
    int tag = 0;
    int quarter = 0;
    Lens_Get_ZoomIndex(&tag, &quarter, loadWord(&ZM_Step_Local));
    constexpr int kLastCentreTag = 12;
    const AF_Statistics_Info &record = g_AFStatistics;
    return (tag > kLastCentreTag ? record.vwV1SumAll : record.vwV1SumHalf) <= kLowContrast;
}

namespace {
/// Light that changes in the middle of a run, once.
class LightStep {
public:
    explicit LightStep(const Cell &cell)
        : factor(atof(settingOf(cell, "light-step").c_str())), before(vcam::flaws()) {}
    ~LightStep() {
        if (isDone)
            vcam::setFlaws(before);
    }
    LightStep(const LightStep &) = delete;
    LightStep &operator=(const LightStep &) = delete;

    void look() {
        if (factor == 1 || isDone || vcam::nowUs() < atUs)
            return;
        vcam::Flaws after = before;
        after.brightness *= factor;
        vcam::setFlaws(after);
        isDone = true;
    }

private:
    double factor;
    vcam::Flaws before;
    int64_t atUs = vcam::nowUs() + kLightStepUs;
    bool isDone = false;
};
} // namespace

static void runLibrary(const Cell &cell, Watched &watched) {
    Way way;
    LightStep light(cell);
    const int ticket = AF_Manager_Autofocus_API();
    vcam::awaitUntil(
        [&] {
            follow(way);
            light.look();
            watched.outcome = AF_Manager_Wait_Ticket_API(ticket, 0);
            return watched.outcome != AF_OUTCOME_NONE;
        },
        kLimitUs, kLookUs);
    follow(way);
    watched.samples = readStatus().runFrames;
    watched.reversals = way.reversals;
    watched.steps = way.steps;
}

static void runRival(const Cell &cell, Watched &watched) {
    LightStep light(cell);
    RivalLens lens([&light] { light.look(); });
    cell.search->rival(lens);
    watched.outcome = AF_OUTCOME_DONE;
    watched.samples = lens.samples();
    watched.reversals = lens.reversals();
    watched.steps = lens.steps();
}

Watched focusOnce(const Cell &cell) {
    Watched watched;
    const int64_t startUs = vcam::nowUs();
    const int64_t startFrame = vcam::frameCount();
    watched.isFarOut = isFarOut();
    if (cell.search->rival == nullptr)
        runLibrary(cell, watched);
    else
        runRival(cell, watched);
    watched.ms = (vcam::nowUs() - startUs) / kUsPerMs;
    watched.frames = vcam::frameCount() - startFrame;
    return watched;
}

} // namespace lab
