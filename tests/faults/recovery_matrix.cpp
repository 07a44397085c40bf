// The same failing calls with recovery on: once and for ever, before and after their effect, and at
// random. Judged by the lens: no step is lost at a stop, and at rest it stands where it is counted
// or its position is said to be doubtful. Once the fault is gone the next order is obeyed.
//
// Left out are the moves that a service tool steps itself, and what does not move the lens.
#include "faults/faults.h"
#include "scenario/scenario.h"

#include "autofocus_control.h"
#include "boundary/call_counts.h"
#include "boundary/faults.h"
#include "clock/seeded_random.h"
#include "clock/trace.h"
#include "devices/lens.h"
#include "host/workers.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace faults {

namespace {

using vcam::Strikes;

constexpr int kLongMs = 240000; // a search that waits its turn, a zoom, a run
constexpr unsigned short kZoomTarget = 0x3000;
constexpr int kRandomActs = 8;

struct Link {
    const char *name;
    const char *call;
    const char *subject;
    int count;
    Strikes when;
};

const Link kLinks[] = {
    {"transfer", "ioctl", "/dev/spidev1.0", 1, Strikes::Before},
    {"transfer-after", "ioctl", "/dev/spidev1.0", 1, Strikes::After},
    {"transfers", "ioctl", "/dev/spidev1.0", vcam::kAlways, Strikes::Before},
    {"transfers-after", "ioctl", "/dev/spidev1.0", vcam::kAlways, Strikes::After},
    {"gpio-open", "open", "/dev/hi_gpio", 1, Strikes::Before},
    {"gpio-opens", "open", "/dev/hi_gpio", vcam::kAlways, Strikes::Before},
    {"gpio-call", "ioctl", "/dev/hi_gpio", 1, Strikes::Before},
    {"gpio-call-after", "ioctl", "/dev/hi_gpio", 1, Strikes::After},
    {"gpio-calls", "ioctl", "/dev/hi_gpio", vcam::kAlways, Strikes::Before},
    {"gpio-calls-after", "ioctl", "/dev/hi_gpio", vcam::kAlways, Strikes::After},
};
constexpr int kLinkCount = sizeof kLinks / sizeof kLinks[0];

struct Cell {
    int move, link, offset;
};

struct Tally {
    int calls[64][kLinkCount]; ///< That a move without a fault makes.
    int wrong;
    int doubtful;
};

Tally *tally;

bool isPlayed(const Move &move) {
    return !move.isOneMoreMiddle && strcmp(move.name, "curve-drawing") != 0 &&
           strcmp(move.name, "ir-cut-report") != 0 && strcmp(move.name, "utilities") != 0;
}

// ---- What must hold

AF_Status_ST status() {
    AF_Status_ST seen = {};
    seen.size = sizeof seen;
    AF_Manager_Get_Status_API(&seen);
    return seen;
}

bool isDoubtful() {
    return (status().faults & AF_FAULT_POSITION) != 0;
}

/// A start-up that waits for dead lines looks as if the lens rested.
void rest(double limitS) {
    scenario::waitUntil([] { return status().activity >= AF_ACTIVITY_IDLE; }, limitS, "start-up");
    settle(limitS);
}

void expectNothingBroken() {
    EXPECT_EQ(vcam::lostSteps(vcam::Axis::Zoom) + vcam::lostSteps(vcam::Axis::Focus), 0);
    EXPECT_EQ(vcam::violationCount(), 0);
}

void expectKnownOrDoubtful() {
    expectNothingBroken();
    if (isDoubtful())
        __atomic_add_fetch(&tally->doubtful, 1, __ATOMIC_RELAXED);
    else
        EXPECT_EQ(scenario::truePlace(), countedPlace());
}

void expectObeyed() {
    vcam::clearFaults();
    EXPECT_EQ(AF_Manager_Wait_Ticket_API(AF_Manager_Zoom_To_API(kZoomTarget), kLongMs),
              AF_OUTCOME_DONE);
    EXPECT_FALSE(isDoubtful());
    EXPECT_EQ(scenario::truePlace(), countedPlace());
    expectNothingBroken();
}

// ---- A cell

bool hasEverySetting = false;

void makeSettings() {
    AF_Manager_Set_Setting_API(AF_SETTING_RECOVERY, 1);
    if (!hasEverySetting)
        return;
    AF_Manager_Set_Setting_API(AF_SETTING_FOCUS_SEARCH, 1);
    AF_Manager_Set_Setting_API(AF_SETTING_FOCUS_BACKLASH, 4);
    AF_Manager_Set_Setting_API(AF_SETTING_STATISTICS_DELAY, 1);
    AF_Manager_Set_Setting_API(AF_SETTING_TRACKING, 1);
}

void playMove(int number, const std::function<void()> &arm) {
    const Move &move = kMoves[number];
    makeSettings();
    startFor(move, [&] {
        AF_Manager_SetFocusMode_API(0);
        arm();
    });
    if (!isAtStart(move))
        move.begin();
    rest(move.limitS);
}

void playCell(const Cell &cell) {
    const Link &link = kLinks[cell.link];
    playMove(cell.move, [&] {
        vcam::failCalls(link.call, link.subject, link.count, EIO, cell.offset, link.when);
    });
    expectKnownOrDoubtful();
    expectObeyed();
}

/// How many of the calls of each link a move without a fault makes.
void countCalls(int move) {
    playMove(move, [] { vcam::countCallsOf(""); });
    vcam::CallCounts made = vcam::takeCallCounts();
    for (int link = 0; link < kLinkCount; ++link)
        tally->calls[move][link] =
            made[std::string(kLinks[link].call) + ' ' + kLinks[link].subject];
    expectKnownOrDoubtful();
    EXPECT_FALSE(isDoubtful()) << "without a fault";
}

/// A wrong end is printed with the command that plays it again.
void judge(const std::string &replay, const std::string &traceFile,
           const std::function<void()> &body) {
    vcam::CameraOptions options;
    options.traceFile = traceFile;
    const scenario::Ending ending = scenario::runToEnd(options, body);
    if (ending.status == 0)
        return;
    __atomic_add_fetch(&tally->wrong, 1, __ATOMIC_RELAXED);
    printf("%sstatus %d; replay: ./run faults --recovery %s\n", ending.said.c_str(), ending.status,
           replay.c_str());
    fflush(stdout);
}

std::string nameOf(const Cell &cell) {
    return std::string(kMoves[cell.move].name) + ' ' + kLinks[cell.link].name + ' ' +
           std::to_string(cell.offset);
}

void judgeCell(const Cell &cell, const std::string &traceFile) {
    judge(nameOf(cell), traceFile, [&] { playCell(cell); });
}

void countAllCalls() {
    vcam::playAll(kMoveCount, [](int move) {
        if (isPlayed(kMoves[move]))
            judge(std::string(kMoves[move].name) + " none 0", "", [&] { countCalls(move); });
    });
}

std::vector<Cell> layOutCells(Extent extent) {
    countAllCalls();
    std::vector<Cell> cells;
    for (int move = 0; move < kMoveCount; ++move) {
        for (int link = 0; link < kLinkCount; ++link) {
            for (int offset = 0; offset < tally->calls[move][link]; ++offset) {
                if (isIn(extentOf(kMoves[move], extent), offset))
                    cells.push_back({move, link, offset});
            }
        }
    }
    return cells;
}

// ---- At random

void actAtRandom(vcam::SeededRandom &random) {
    switch (random.drawBetween(0, 6)) {
    case 0:
        AF_Manager_Zoom_Tele_API();
        break;
    case 1:
        AF_Manager_Zoom_Wide_API();
        break;
    case 2:
        AF_Manager_Focus_To_API(static_cast<unsigned short>(random.drawBits()));
        break;
    case 3:
        AF_Manager_Autofocus_API();
        break;
    case 4:
        AF_Manager_Home_API();
        break;
    default:
        AF_Manager_Zoom_To_API(static_cast<unsigned short>(random.drawBetween(0, 0x4000)));
        break;
    }
    scenario::passMs(random.drawBetween(50, 6000));
}

void playStorm(int seed) {
    vcam::SeededRandom random(static_cast<uint64_t>(seed), 0x57);
    const int kOneIn[] = {10, 30, 100, 300, 1000};
    makeSettings();
    scenario::introduceHost();
    vcam::failLinksAtRandom(1.0 / kOneIn[random.drawBetween(0, 4)], static_cast<uint64_t>(seed));
    AF_Manager_Start_API();
    for (int act = 0; act < kRandomActs; ++act)
        actAtRandom(random);
    AF_Manager_Zoom_Stop_API();
    rest(kLongMs);
    expectKnownOrDoubtful();
    expectObeyed();
}

void judgeStorm(int seed, const std::string &traceFile) {
    judge("storm at-random " + std::to_string(seed), traceFile, [&] { playStorm(seed); });
}

} // namespace

void chooseEverySetting() {
    hasEverySetting = true;
}

bool playRecoveryMatrix(Extent extent, int storms) {
    tally = vcam::share<Tally>();
    const std::vector<Cell> cells = layOutCells(extent);
    const int count = static_cast<int>(cells.size());
    vcam::playAll(count + storms, [&](int index) {
        if (index < count)
            judgeCell(cells[static_cast<size_t>(count - 1 - index)], "");
        else
            judgeStorm(index - count + 1, "");
    });
    printf(
        "fault matrix: with recovery %d cells and %d storms: %d wrong; %d ended with the position "
        "doubtful\n",
        count, storms, tally->wrong, tally->doubtful);
    return tally->wrong == 0;
}

bool replayRecovery(const Words &words, const std::string &traceFile) {
    tally = vcam::share<Tally>();
    const int number = toNumber(words[2], 1 << 20);
    if (words[0] == "storm" && number >= 0) {
        judgeStorm(number, traceFile);
        return tally->wrong == 0;
    }
    const int move = findNamed(kMoves, kMoveCount, words[0]);
    const int link = findNamed(kLinks, kLinkCount, words[1]);
    if (move < 0 || link < 0 || number < 0)
        return false;
    judgeCell({move, link, number}, traceFile);
    return tally->wrong == 0;
}

} // namespace faults
