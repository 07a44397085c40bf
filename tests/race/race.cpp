// The library on threads of the operating system, without the virtual clock: what they do to each
// other between two instructions. In a round some threads begin at once; what is judged must hold
// at every look, or when all have come to rest. Which round meets a fault is chance: the stress may
// miss one, but it never errs.
#include "af_lens/model/lens_state.h"
#include "af_lens/model/orders.h"
#include "af_lens/model/preset_table.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/model/zoom_ratio.h"
#include "af_orders/ledger.h"
#include "autofocus_service.h"
#include "clock/next_call.h"
#include "clock/seeded_random.h"
#include "platform/isp_interface.h"
#include "platform/shared_word.h"

#include <CLI/CLI.hpp>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <sched.h>
#include <sys/wait.h>
#include <thread>

namespace {

std::atomic<long> findings;
std::atomic<const char *> lastFinding;

/// Judge on any thread; @p finding says what must not be.
void require(bool holds, const char *finding) {
    if (holds)
        return;
    ++findings;
    lastFinding = finding;
}

std::atomic<uint64_t> threadsSeen;
thread_local vcam::SeededRandom lots(1, threadsSeen++);

int draw(int low, int high) {
    return lots.drawBetween(low, high);
}

/// Lose some time, a few microseconds at most.
void stumble() {
    for (int turns = draw(0, 1000); turns > 0; --turns)
        __atomic_signal_fence(__ATOMIC_SEQ_CST);
    if (draw(0, 7) == 0)
        sched_yield();
}

/// Let others go on: where other work has the processors, those that only yield keep each other
/// from it, so that now and then this one sleeps.
void giveWay() {
    thread_local int turns = 0;
    if (++turns % 64 == 0)
        std::this_thread::sleep_for(std::chrono::microseconds(20));
    else
        sched_yield();
}

std::atomic<int> opened; // descriptors are numbers only: no file is behind them
std::atomic<int> closed;
thread_local int closedBefore; // the transfer in hand began after this one was closed

int takeTransfer(int descriptor) {
    require(descriptor != closedBefore, "a transfer begins on a closed descriptor");
    return 1;
}

std::atomic<bool> areCounted;
std::atomic<int> creations[2]; // of the serial and the start-up thread, while they are counted
std::atomic<int> failuresLeft; // of the creations that are asked for next

} // namespace

// ---- The calls that the library makes: it finds these before libc's and a sanitizer's. What is
// printed takes its time, but no lock that would put the threads in order.
#pragma GCC visibility push(default)
extern "C" {
#define ANSWER(call, deed, ...)                                                                    \
    int call(__VA_ARGS__) {                                                                        \
        deed;                                                                                      \
        return 0;                                                                                  \
    }
ANSWER(printf, stumble(), const char *, ...)
ANSWER(__printf_chk, stumble(), int, const char *, ...)
ANSWER(puts, stumble(), const char *)
ANSWER(usleep, giveWay(), useconds_t)
ANSWER(pthread_detach, , pthread_t) // all are joined
ANSWER(open, return 100 + opened++, const char *, int, ...)
ANSWER(close, (closed = descriptor, stumble()), int descriptor)
ANSWER(ioctl, return takeTransfer(descriptor), int descriptor, unsigned long, ...)
ANSWER(HI_MPI_ISP_GetStatisticsConfig, , ISP_DEV, ISP_STATISTICS_CFG_S *)
ANSWER(HI_MPI_ISP_SetStatisticsConfig, , ISP_DEV, const ISP_STATISTICS_CFG_S *)
ANSWER(HI_MPI_ISP_GetPubAttr, , ISP_DEV, ISP_PUB_ATTR_S *)
ANSWER(HI_MPI_ISP_GetStatistics, , ISP_DEV, ISP_STATISTICS_S *)
ANSWER(HI_MPI_ISP_QueryExposureInfo, , ISP_DEV, ISP_EXP_INFO_S *)
ANSWER(HI_MPI_ISP_GetVDTimeOut, , ISP_DEV, ISP_VD_INFO_S *, HI_U32)

int pthread_create(pthread_t *__restrict handle, const pthread_attr_t *__restrict attributes,
                   void *(*body)(void *), void *__restrict argument) noexcept {
    using Create = int(pthread_t *, const pthread_attr_t *, void *(*)(void *), void *);
    static vcam::NextCall<Create> create{"pthread_create"};
    const bool isSerial = body == SonyViscaProtocol;
    if (!areCounted || !(isSerial || body == afStartThread))
        return create(handle, attributes, body, argument);
    stumble();
    if (failuresLeft-- > 0)
        return EAGAIN;
    creations[isSerial ? 0 : 1]++;
    return 0;
}
}
#pragma GCC visibility pop

namespace {

// What a round is told beforehand.
int counts[3]; // ratio counts: in force before, then set by two threads
int ratios[2];
unsigned place; // within the travel of both axes

// ---- The ratio count, set by two threads while the lens moves

/// The maps of a ratio count, as one thread alone builds them.
struct Maps {
    Lens_Index_Map ratios[kMostRatios];
    unsigned short positions[kTagPoints][kQuarters];
    int average, remainder;
};

Maps mapsOf[kMostRatios + 1];

Maps readMaps() {
    Maps maps = {{}, {}, g_Average, g_Remainder};
    memcpy(maps.ratios, gOSDMultipleMap, sizeof maps.ratios);
    memcpy(maps.positions, gPositionMap, sizeof maps.positions);
    return maps;
}

int shownRatio() {
    char text[AF_OSD_TEXT_SIZE];
    AF_Manager_Get_OSDData_API(text);
    return atoi(text + 1);
}

int position16At(unsigned zoom, int count) {
    int index1 = 0;
    int index2 = 0;
    Lens_Get_ZoomIndex(&index1, &index2, zoom);
    return mapsOf[count].positions[index1][index2];
}

int ratioAt(int position16) {
    const auto *const above = std::upper_bound(gZRPosition, gZRPosition + kMostRatios, position16);
    return static_cast<int>(above - gZRPosition);
}

/// Back and forth near the tele end, where quarter points are near each other.
void moveZoom() {
    Lens_Fresh_ZFLocation(zoomPosition() > ZM_Step_Run[13] ? MS_Z_WIDE : MS_Z_TELE,
                          static_cast<unsigned char>(draw(1, 255)));
}

/// What is published meanwhile belongs to a count and a position of this round.
void moveAndLook() {
    std::vector<int> positions;
    std::vector<int> shown;
    for (int look = 0; look < 4; ++look) {
        if (look > 0)
            moveZoom();
        for (const int count : counts) {
            positions.push_back(position16At(zoomPosition(), count));
            shown.push_back(ratioAt(positions.back()));
        }
        const int position = loadWord(&g_ShaPosInfo->shRZPosition);
        require(std::count(positions.begin(), positions.end(), position) > 0,
                "a zoom position is published where the lens has not been");
        require(std::count(shown.begin(), shown.end(), shownRatio()) > 0,
                "a ratio is shown where the lens has not been");
    }
}

void judgePublished() {
    const int focus16 = g_ShaPosInfo->shRFPosition;
    const int zoom16 = position16At(ZM_Step_Local, static_cast<int>(gOSDMultipleMax));
    require(g_ShaPosInfo->shRZPosition == zoom16, "the published zoom position is not the lens's");
    require(shownRatio() == ratioAt(zoom16), "the ratio on the screen is not the lens's");
    require(Lens_Map_FPosition(FM_Step_Local) == focus16,
            "the published focus position is not the lens's");
}

template <int Who> void setCount() {
    AF_Manager_Set_Multiple_API(counts[Who]);
}

void judgeCount() {
    const Maps maps = readMaps();
    require(memcmp(&maps, &mapsOf[gOSDMultipleMax], sizeof maps) == 0,
            "the maps are not those of the count");
    judgePublished();
}

template <int Who> void setRatio() {
    Lens_Set_Multiple(ratios[Who]);
}

void judgeRatio() {
    const int other = ratios[shownRatio() == ratios[0] ? 1 : 0];
    Lens_Set_Multiple(other); // ignored if it is taken for the one that is shown
    require(shownRatio() == other, "the ratio on the screen was not the one in force");
}

/// Until the lens comes to rest, while a host sets a preset.
void moveBothAxes() {
    for (int move = 0; move < 3; ++move) {
        moveZoom();
        Lens_Fresh_ZFLocation(focusPosition() > FM_PI_Position ? MS_F_NEAR : MS_F_FAR, 100);
    }
}

// ---- Presets. Zoom and focus are the same number, and so are the halves of a pair

PRESET_INF kept;
std::atomic<bool> isWithHost;

int keepPresets(PRESET_INF *info) {
    require(!isWithHost.exchange(true), "the host's callback runs twice at once");
    kept = *info;
    stumble();
    require(memcmp(&kept, info, sizeof kept) == 0, "the host's table changes during its callback");
    isWithHost = false;
    return 0;
}

void setPresets() {
    setPosition(place, place);
    Lens_Set_Preset(1);
    Lens_Set_Preset(2);
}

void clearPresets() {
    Lens_Clear_Preset(draw(0, 2));
    Lens_Clear_Preset(2);
}

void readPresets() {
    for (int look = 0; look < 200; ++look) {
        unsigned zoom, focus;
        readPreset(look % 3, &zoom, &focus);
        require(zoom == focus, "a preset is read half old, half new");
    }
}

void judgePresets() {
    require(memcmp(&kept, &g_APGroupInfo, sizeof kept) == 0, "the host keeps other presets");
    for (int pst = 0; pst < 3; ++pst) {
        const unsigned focus = g_APGroupInfo.aFPosition[pst];
        require(g_APGroupInfo.aZPosition[pst] == focus, "a preset is left half old, half new");
        require((g_RPGroupInfo.rFPosition[pst] == 0) == (focus == 0),
                "a preset is set in one table only");
    }
}

/// Commands that come while the lens-control thread ends another one: the preset that is set last
/// is stored, whatever was in hand then.
void playMailbox() {
    gLensCtrl = 0;
    Lens_Init_PresetInfo();
    Lens_Set_Command(CMD_NONE);
    std::thread lens(thLensCtrl, nullptr);
    for (int i = 0; i < 50; ++i) {
        ++place;
        setPosition(place, place);
        lensDirectZPosition(draw(0, 1) == 0 ? CMD_SPST : CMD_CLPST, 5);
        stumble();
        lensDirectZPosition(CMD_SPST, 6);
        while (Lens_Get_Command() != CMD_NONE)
            giveWay();
        unsigned zoom, focus;
        readPreset(6, &zoom, &focus);
        require(zoom == place && focus == place, "a command that came during another one is lost");
    }
    lensCtrlStop();
    lens.join();
}

// ---- Orders from two threads and a raw store now and then, while a third takes them

constexpr int kSlips = 4096;
constexpr int kOrders = 20;

struct Slip {
    std::atomic<unsigned> given; ///< Argument that the ticket was given for.
    std::atomic<unsigned> taken; ///< Argument that it was taken with; 0: it was not.
    std::atomic<int> ends;
};

Slip slips[kSlips];
std::atomic<int> ordering;

template <int Who> void placeOrders() {
    ++ordering;
    for (int i = 1; i <= kOrders; ++i) {
        const unsigned argument = static_cast<unsigned>(Who * 1000 + i);
        slips[placeOrder(makeContent(CMD_CAPST, argument), kAsCommand) % kSlips].given = argument;
        if (draw(0, 3) == 0)
            lensDirectZPosition(CMD_SPST, 77);
        stumble();
    }
    --ordering;
}

void takeOnce() {
    const TakenOrder &taken = takeOrder();
    for (int ticket = taken.goneAfter; ticket != taken.goneTo;) {
        ticket = nextTicket(ticket);
        slips[ticket % kSlips].ends += ticket != taken.ticket ? 1 : 0;
    }
    if (taken.ticket != 0)
        slips[taken.ticket % kSlips].ends++;
    if (taken.isOrdered)
        slips[taken.ticket % kSlips].taken = valueOf(taken.content);
    leaveFollowUpOf(taken.content, CMD_NONE);
    putDown(false);
}

void takeOrders() {
    for (int looks = 0; looks < 30 || ordering > 0; ++looks)
        takeOnce();
}

void judgeOrders() {
    static int judged = 0;
    takeOnce();
    while (judged != lastTicket()) {
        judged = nextTicket(judged);
        Slip &slip = slips[judged % kSlips];
        require(slip.ends.exchange(0) == 1, "a ticket does not end exactly once");
        const unsigned taken = slip.taken.exchange(0);
        require(taken == 0 || taken == slip.given, "a ticket runs another one's argument");
    }
}

// ---- The status

void writeStatus() {
    for (unsigned i = 1; i < 50; ++i) {
        noteRun(i, i, i, i, i);
        enterFollowUp(0, i % 2);
    }
}

void readStatus() {
    for (int look = 0; look < 50; ++look) {
        AF_Status_ST ledger;
        readStatus(&ledger);
        require(ledger.runOutcome == ledger.runFloor && ledger.runFrames == ledger.runPeak &&
                    ledger.runStart == ledger.runFloor && ledger.runPeak == ledger.runFloor,
                "a status is read half of one moment, half of another");
    }
}

/// While the other thread releases the link.
void transfer() {
    for (int i = 0; i < 20; ++i) {
        closedBefore = closed;
        Spi_Write(0x24, 0);
    }
}

/// A start from two threads, in a process of its own, while some creations fail.
void playStart() {
    const pid_t child = fork();
    if (child == 0) {
        const auto start = [] {
            for (int i = 0; i < 10; ++i)
                AF_Manager_Start_API();
        };
        failuresLeft = draw(0, 3);
        areCounted = true;
        std::thread other(start);
        start();
        other.join();
        _exit(creations[0] == 1 && creations[1] == 1 ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    require(status == 0, "a thread of the library is missing, or there twice");
}

struct Kind {
    const char *name;
    int rounds;
    std::vector<void (*)()> parts; ///< Begin at once, a thread each.
    void (*judge)();
};

const Kind kKinds[] = {
    {"count", 150000, {setCount<1>, setCount<2>, moveAndLook}, judgeCount},
    {"ratio", 1000000, {setRatio<0>, setRatio<1>}, judgeRatio},
    {"publish", 300000, {[] { Lens_Set_Preset(7); }, moveBothAxes}, judgePublished},
    {"presets", 50000, {setPresets, clearPresets}, judgePresets},
    {"pairs", 200000, {setPresets, readPresets}, judgePresets},
    // Before "mailbox", whose thread closes the orders with its end.
    {"orders", 300, {placeOrders<1>, placeOrders<2>, takeOrders}, judgeOrders},
    {"mailbox", 2000, {playMailbox}, [] {}},
    {"status", 50000, {writeStatus, readStatus}, [] {}},
    {"close", 100000, {SPI_Release, transfer}, [] { SPI_Init(); }},
    {"start", 1500, {playStart}, [] {}},
};

/// Wait until @p goal threads have come, at first without the kernel's help: they go on nearly at
/// once.
void meet(std::atomic<int> &arrived, int goal) {
    ++arrived;
    for (int turns = 0; arrived < goal; ++turns) {
        if (turns > 300)
            giveWay();
    }
}

/// A thread's share; the first one draws and judges, while the others wait.
void playPart(const Kind &kind, size_t number, int rounds, std::atomic<int> &arrived) {
    const int parties = static_cast<int>(kind.parts.size());
    for (int round = 0; round < rounds; ++round) {
        if (number == 0) {
            counts[0] = static_cast<int>(gOSDMultipleMax);
            counts[1] = draw(kFewestRatios, kMostRatios);
            counts[2] = draw(kFewestRatios, kMostRatios);
            ratios[0] = draw(1, kMostRatios - 1);
            ratios[1] = draw(ratios[0] + 1, kMostRatios);
            place = static_cast<unsigned>(draw(11000, 14000));
        }
        meet(arrived, (2 * round + 1) * parties);
        kind.parts[number]();
        meet(arrived, (2 * round + 2) * parties);
        if (number == 0)
            kind.judge();
    }
}

void setUp() {
    Lens_Init_GlobalVariable();
    Lens_Init_ZoomStep();
    buildRatioMaps();
    AF_Manager_Init_PresetInfo_API(keepPresets, [](PRESET_INF *) { return 0; });
    Lens_Init_PresetInfo();
    setPosition(ZM_Step_Run[13], FM_PI_Position);
    for (int count = kMostRatios; count >= kFewestRatios; --count) {
        AF_Manager_Set_Multiple_API(count);
        mapsOf[count] = readMaps();
    }
    Lens_Map_FPosition(FM_Step_Local);
    SPI_Init();
}

/// Whether nothing was found.
bool play(const Kind &kind, int rounds) {
    const auto begin = std::chrono::steady_clock::now();
    setUp();
    std::atomic<int> arrived(0);
    std::vector<std::thread> threads;
    for (size_t number = 1; number < kind.parts.size(); ++number)
        threads.emplace_back([&, number] { playPart(kind, number, rounds, arrived); });
    playPart(kind, 0, rounds, arrived);
    for (std::thread &thread : threads)
        thread.join();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - begin;
    const long found = findings.exchange(0);
    fprintf(stdout, "race %-8s %8d rounds %5.1f s, %ld findings%s%s\n", kind.name, rounds,
            took.count(), found, found > 0 ? ": " : "", found > 0 ? lastFinding.load() : "");
    fflush(stdout);
    return found == 0;
}

} // namespace

int main(int argc, char **argv) {
    std::string name;
    int rounds = 0;
    CLI::App app("The library on real threads, in rounds in which they meet at once. It may miss a "
                 "fault; what it finds is one. What the kinds of rounds catch:\n"
                 "count    maps, positions or texts of another ratio count\n"
                 "ratio    a text that is not the ratio in force\n"
                 "publish  positions published where the lens was before\n"
                 "presets  the host called twice at once, or with a table that changes\n"
                 "pairs    a preset that is read half old, half new\n"
                 "mailbox  a command overwritten by another one's end\n"
                 "orders   a ticket that ends twice or never, or runs another one's argument\n"
                 "status   a status of two moments\n"
                 "close    a transfer that begins on a closed descriptor\n"
                 "start    a thread that is created twice, or not at all",
                 "race");
    std::vector<std::string> names;
    for (const Kind &kind : kKinds)
        names.emplace_back(kind.name);
    app.add_option("kind", name, "only this kind")->check(CLI::IsMember(names));
    app.add_option("--rounds", rounds, "so many of each kind")->check(CLI::PositiveNumber);
    CLI11_PARSE(app, argc, argv);

    int played = 0;
    int failed = 0;
    for (const Kind &kind : kKinds) {
        if (!name.empty() && name != kind.name)
            continue;
        ++played;
        failed += play(kind, rounds > 0 ? rounds : kind.rounds) ? 0 : 1;
    }
    fprintf(stdout, "race: %d kinds, %d with findings\n", played, failed);
    return failed == 0 ? 0 : 1;
}
