// What the verdicts of the autofocus runs are worth: many runs of units by seed, each from a random
// focus at a random zoom, judged by the truth. The first of two runs of a unit knows its noise by
// the gain alone, the second by idle frames.
#include "scenario/scenario.h"

#include "autofocus_control.h"
#include "clock/seeded_random.h"
#include "host/workers.h"
#include "optics/lens_curves.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>

namespace {

constexpr int kVerdicts = AF_OUTCOME_FAULT + 1;
constexpr int kIdleMs = 1500;
constexpr int kLongestRunMs = 60000;
constexpr double kNearestM = 2;

enum Scene { kOnGrid, kOffGrid, kFlat, kScenes };
enum Error { kWithinOne, kWithinTwo, kBeyond, kErrors };

/// What the processes have in common.
struct Tally {
    long runs[2][kScenes][kErrors][kVerdicts]; // [night][scene]
    long broken;
};

Tally *tally;
std::string flatPicture =
    std::filesystem::path(__FILE__).parent_path().parent_path() / "scenario/pictures/flat.png";

struct Unit {
    int seed;
    bool isNight;
    Scene scene;
};

Error classOf(double halfDepths) {
    const double error = std::fabs(halfDepths);
    return error <= 1 ? kWithinOne : error <= 2 ? kWithinTwo : kBeyond;
}

void judge(const Unit &unit) {
    const int outcome = AF_Manager_Wait_Ticket_API(AF_Manager_Autofocus_API(), kLongestRunMs);
    ASSERT_GT(outcome, AF_OUTCOME_DONE);
    ASSERT_LT(outcome, kVerdicts);
    const Error error = classOf(vcam::focusErrorHalfDepths());
    __atomic_add_fetch(&tally->runs[unit.isNight][unit.scene][error][outcome], 1, __ATOMIC_RELAXED);
}

unsigned drawZoom(vcam::SeededRandom &random, Scene scene) {
    if (scene != kOnGrid)
        return static_cast<unsigned>(
            random.drawBetween(static_cast<int>(ZM_Wide_Limit), static_cast<int>(ZM_Tele_Limit)));
    const int point = random.drawBetween(0, 59);
    const unsigned from = ZM_Step_Run[point / 4];
    const unsigned to = ZM_Step_Run[point / 4 + 1];
    return std::min(from + (to - from) / 4 * static_cast<unsigned>(point % 4), ZM_Tele_Limit);
}

void playUnit(const Unit &unit) {
    vcam::SeededRandom random(static_cast<uint64_t>(unit.seed), 77);
    scenario::startParked();
    scenario::placeLens(drawZoom(random, unit.scene),
                        static_cast<unsigned>(random.drawBetween(10200, 13000)));
    judge(unit);
    scenario::passMs(kIdleMs);
    const int ticket =
        AF_Manager_Focus_To_API(static_cast<unsigned short>(random.drawBetween(0x2000, 0xA000)));
    ASSERT_EQ(AF_Manager_Wait_Ticket_API(ticket, kLongestRunMs), AF_OUTCOME_DONE);
    judge(unit);
}

void playInProcess(const Unit &unit) {
    vcam::SeededRandom random(static_cast<uint64_t>(unit.seed), 78);
    vcam::CameraOptions options;
    options.seed = static_cast<uint64_t>(unit.seed);
    options.lensType = unit.seed / 12 % 2;
    options.night = unit.isNight;
    const double dioptres = random.drawUnit() / kNearestM;
    options.objectDistanceM = dioptres > 0.01 ? 1 / dioptres : HUGE_VAL;
    if (unit.scene == kFlat) {
        options.picture = flatPicture;
        options.plainPicture = true;
    }
    const scenario::Ending ending = scenario::runToEnd(options, [unit] {
        g_LensType = unit.seed / 12 % 2;
        g_ICUTState = unit.isNight ? 1 : 0;
        playUnit(unit);
    });
    if (ending.status == 0)
        return;
    printf("%sseed %d night %d scene %d: ends badly\n%s", ending.said.c_str(), unit.seed,
           unit.isNight, unit.scene, ending.printed.c_str());
    fflush(stdout);
    __atomic_add_fetch(&tally->broken, 1, __ATOMIC_RELAXED);
}

// ---- The table

long count(int night, int scene, int error, int verdict) {
    return tally->runs[night][scene][error][verdict];
}

double share(long part, long whole) {
    return whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

struct Row {
    long runs = 0;
    long focused = 0;
    long focusedFar = 0; // called focused, but more than two half depths off
    long good = 0;       // within one half depth
    long goodUnsure = 0;
};

Row sumUp(int night, int scene) {
    Row row;
    for (int error = 0; error < kErrors; ++error) {
        for (int verdict = 0; verdict < kVerdicts; ++verdict) {
            const long runs = count(night, scene, error, verdict);
            row.runs += runs;
            row.focused += verdict == AF_OUTCOME_FOCUSED ? runs : 0;
            row.focusedFar += verdict == AF_OUTCOME_FOCUSED && error == kBeyond ? runs : 0;
            row.good += error == kWithinOne ? runs : 0;
            row.goodUnsure += error == kWithinOne && verdict != AF_OUTCOME_FOCUSED ? runs : 0;
        }
    }
    return row;
}

void printCell(int night, int scene) {
    static const char *const kNames[] = {"on the grid", "off the grid", "flat"};
    static const char *const kErrorNames[] = {"within 1", "within 2", "beyond"};
    for (int error = 0; error < kErrors; ++error) {
        printf("%-6s %-13s %-9s", night ? "night" : "day", kNames[scene], kErrorNames[error]);
        for (int verdict = AF_OUTCOME_FOCUSED; verdict <= AF_OUTCOME_BLIND; ++verdict)
            printf(" %8ld", count(night, scene, error, verdict));
        printf("\n");
    }
}

bool judgeAll() {
    Row pictures;
    Row flat;
    for (int night = 0; night < 2; ++night) {
        for (int scene = 0; scene < kScenes; ++scene) {
            const Row row = sumUp(night, scene);
            Row &sum = scene == kFlat ? flat : pictures;
            sum.focused += row.focused;
            sum.focusedFar += row.focusedFar;
            sum.good += row.good;
            sum.goodUnsure += row.goodUnsure;
        }
    }
    printf("called focused but over two half depths off: %ld of %ld, %.2f %% (at most 0.5)\n"
           "within one half depth but not called focused: %ld of %ld, %.1f %% (at most 15)\n"
           "flat scenes called focused: %ld (none)\n",
           pictures.focusedFar, pictures.focused, share(pictures.focusedFar, pictures.focused),
           pictures.goodUnsure, pictures.good, share(pictures.goodUnsure, pictures.good),
           flat.focused);
    return share(pictures.focusedFar, pictures.focused) <= 0.5 &&
           share(pictures.goodUnsure, pictures.good) <= 15 && flat.focused == 0;
}

} // namespace

int main(int argc, char **argv) {
    int runs = 5000;
    CLI::App app("What the verdicts of the autofocus runs are worth, by the truth: a table.",
                 "verdict");
    app.add_option("runs", runs, "autofocus runs, 5000 if left out; a sixth of them on flat scenes")
        ->check(CLI::Range(12, 10000000));
    app.add_option("--flat", flatPicture, "another picture without a detail")
        ->check(CLI::ExistingFile);
    CLI11_PARSE(app, argc, argv);

    tally = vcam::share<Tally>();
    vcam::playAll(runs / 2, [](int index) {
        const int kind = index % 12; // five of six units see a picture
        const Scene scene = kind / 2 == 5 ? kFlat : kind / 2 % 2 == 0 ? kOnGrid : kOffGrid;
        playInProcess({index + 1, kind % 2 == 1, scene});
    });
    printf("half depths off, by verdict      focused   unsure     flat     edge    blind\n");
    for (int night = 0; night < 2; ++night)
        for (int scene = 0; scene < kScenes; ++scene)
            printCell(night, scene);
    const bool isGood = judgeAll();
    return isGood && tally->broken == 0 ? 0 : 1;
}
