// What no test would think of: for two virtual minutes two host threads, two that order with
// tickets, the controller on the serial line, a writer of the mailbox, a service tool and the
// scenery act at random, all drawn from one seed. Afterwards the lens must settle, its counters
// equal the truth, a standing state be in the mailbox, the hardware have nothing to complain of and
// the serial port still answer. With replies, the controller's books must balance as well.
#include "scenario/scenario.h"
#include "scenario/temporary_folder.h"
#include "storm/reply_books.h"

#include "autofocus_control.h"
#include "clock/seeded_random.h"
#include "clock/virtual_clock.h"
#include "devices/serial_port.h"
#include "flaws/flaws.h"
#include "host/controller_frames.h"
#include "host/workers.h"
#include "isp/isp.h"
#include "optics/scene.h"
#include "platform/shared_word.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <atomic>
#include <cinttypes>
#include <cstdio>
#include <cstring>

using vcam::SeededRandom;

namespace {

constexpr int64_t kStormUs = 120000000;
constexpr double kSettleS = 1500; // a calibration run that came last takes its time
constexpr double kNearestM = 2.5; // nearer ones are out of the lens's reach at tele: it searches on
constexpr int kStopApiOneIn = 16;

/// What the processes of the seeds have in common.
struct Tally {
    long acts;
    long failed;
    int64_t virtualUs;
    long acknowledged;
};

Tally *tally;

/// Something to do, and how often beside the others.
struct Act {
    int weight;
    void (*perform)(SeededRandom &random);
};

using Acts = std::vector<Act>;

// ---- The host's threads

const Acts kHostActs = {
    {1, [](SeededRandom &) { AF_Manager_Reset_API(); }},
    {2, [](SeededRandom &r) { AF_Manager_SetFocusMode_API(r.drawBetween(-1, 2)); }},
    {4,
     [](SeededRandom &r) {
         AF_Mamager_SetPreset_API(static_cast<unsigned char>(r.drawBetween(0, 255)));
     }},
    {3, [](SeededRandom &r) { AF_Manager_Set_Multiple_API(r.drawBetween(16, 38)); }},
    {2, [](SeededRandom &r) { AF_Manager_Set_ICUTStatusLast_API(r.drawBetween(0, 3)); }},
    {2, [](SeededRandom &r) { AF_Manager_Set_ICUTControlType_API(r.drawBetween(-1, 4)); }},
    {1, [](SeededRandom &) { AF_Manager_Start_API(); }},
    {1, [](SeededRandom &r) { AF_Manager_Init_UsartFd_API(r.drawBetween(-1, 0)); }},
    {4,
     [](SeededRandom &) {
         char text[64];
         AF_Manager_Get_OSDData_API(text);
     }},
};

// ---- The mailbox: any code, sensible or not; the calibration run, which nothing stops, seldom

void writeMailbox(SeededRandom &random) {
    const int code = random.drawBetween(-1, 18);
    const bool isRareOne = code == CMD_FLINE && random.drawBetween(0, 9) != 0;
    if (isRareOne || loadWord(&g_ShaPosInfo) == nullptr)
        return;
    const unsigned presets[] = {0, 1, 5, 202, 254, 255};
    const bool isPreset = code >= CMD_SPST && code <= CMD_CLPST;
    scenario::command(static_cast<AF_CMD_em>(code), isPreset
                                                        ? presets[random.drawBetween(0, 5)]
                                                        : static_cast<unsigned>(random.drawBits()));
}

const Acts kMailboxActs = {{1, writeMailbox}};

// ---- The controller

const vcam::Bytes &drawFrame(SeededRandom &random) {
    const int last = static_cast<int>(vcam::kFrames.size()) - 1;
    return vcam::kFrames[static_cast<size_t>(random.drawBetween(0, last))];
}

void sendFrame(SeededRandom &random) {
    scenario::send(drawFrame(random));
}

void sendDirectZoom(SeededRandom &random) {
    scenario::send(vcam::viscaDirectZoom(static_cast<unsigned>(random.drawBetween(0, 0xFFFF))));
}

/// A frame with a byte changed or its end missing: what follows is read at the wrong place.
void sendDamaged(SeededRandom &random) {
    vcam::Bytes frame = drawFrame(random);
    const auto at = static_cast<size_t>(random.drawBetween(0, static_cast<int>(frame.size()) - 1));
    if (random.drawBetween(0, 1) == 0)
        frame[at] = static_cast<uint8_t>(random.drawBits());
    else
        frame.resize(at);
    scenario::send(frame);
}

const Acts kSerialActs = {{20, sendFrame}, {4, sendDirectZoom}, {1, sendDamaged}};

// ---- The controller of a port with replies: all that there is, in bursts, and kept books

int replies = 0; // value of the setting
bool isRobust = false;

vcam::Bytes drawAnswered(SeededRandom &random) {
    const auto number = static_cast<uint8_t>(random.drawBetween(0, 5));
    const auto pelcoPreset = static_cast<uint8_t>(2 * random.drawBetween(1, 3) + 1);
    const auto pelcoSum = static_cast<uint8_t>(1 + pelcoPreset + number);
    const auto what = static_cast<uint8_t>(random.drawBetween(0, 2));
    const unsigned position = static_cast<unsigned>(random.drawBetween(0, 0xFFFF));
    const vcam::Bytes frames[] = {
        drawFrame(random),
        drawFrame(random),
        drawFrame(random),
        drawFrame(random),
        vcam::viscaDirectZoom(position),
        vcam::viscaDirectZoom(position & 0x7000), // often the same one
        vcam::wrapPosition({0x81, 0x01, 0x04, 0x48}, position),
        {0x81, 0x01, 0x04, 0x3F, what, number, 0xFF},
        {0x81, 0x01, 0x04, 0x38, static_cast<uint8_t>(2 + what), 0xFF},
        {0x81, static_cast<uint8_t>(0x21 + what), 0xFF},
        {0x81, 0x01, 0x06, 0x04, 0xFF},
        {0x81, 0x01, 0x00, 0x01, 0xFF},
        {0x88, 0x30, 0x01, 0xFF},
        {0x81, 0x09, 0x00, 0x02, 0xFF},
        {0xFF, 0x01, 0x00, pelcoPreset, 0x00, number, pelcoSum},
        {0xFF, 0x01, 0x00, 0x22, 0x20, 0x00, 0x43},
        {0xFF, 0x01, 0x00, 0x55, 0x00, 0x00, 0x56},
    };
    return frames[random.drawBetween(0, static_cast<int>(std::size(frames)) - 1)];
}

vcam::Bytes drawBytes(SeededRandom &random, int low, int high) {
    vcam::Bytes bytes(static_cast<size_t>(random.drawBetween(1, 20)));
    for (uint8_t &byte : bytes)
        byte = static_cast<uint8_t>(random.drawBetween(low, high));
    return bytes;
}

/// What costs a VISCA frame after it nothing: half a frame, with more behind it, bytes that begin
/// nothing, a Pelco-D frame with a wrong checksum.
vcam::Bytes drawGarbage(SeededRandom &random) {
    vcam::Bytes half = vcam::wrapPosition({0x81, 0x01, 0x04, 0x47}, 0x1234);
    half.resize(static_cast<size_t>(random.drawBetween(1, 8)));
    const vcam::Bytes low = drawBytes(random, 0x00, 0x7F);
    vcam::Bytes more = half;
    more.insert(more.end(), low.begin(), low.end());
    const vcam::Bytes kinds[] = {
        {}, {}, {}, half, more, low, drawBytes(random, 0x89, 0xFE), {0xFF, 1, 0, 0x20, 0, 0, 0x22}};
    return kinds[random.drawBetween(0, static_cast<int>(std::size(kinds)) - 1)];
}

void sendAnswered(SeededRandom &random) {
    const int burst = random.drawBetween(0, 3) == 0 ? random.drawBetween(2, 12) : 1;
    for (int i = 0; i < burst; ++i) {
        const vcam::Bytes frame = drawAnswered(random);
        const bool isVisca = (frame[0] & 0xF0) == 0x80;
        vcam::Bytes line = isVisca ? drawGarbage(random) : vcam::Bytes{};
        line.insert(line.end(), frame.begin(), frame.end());
        books::noteSent(frame, replies);
        scenario::send(line);
    }
}

std::atomic<bool> isHeard = false; // all that there is to hear

/// Hears each message at its instant, when the lens still is where it says.
void *listen(void *) {
    while (!isHeard) {
        vcam::waitCameraSent(vcam::nowUs() + 500000);
        books::noteHeard(vcam::cameraSent());
    }
    return nullptr;
}

const Acts kAnsweredActs = {{1, sendAnswered}};

void expectBalancedBooks(pthread_t listener) {
    scenario::passMs(1000);
    isHeard = true;
    pthread_join(listener, nullptr);
    EXPECT_EQ(books::settle(), "");
    __atomic_add_fetch(&tally->acknowledged, books::countAcknowledged(), __ATOMIC_RELAXED);
}

// ---- Orders with tickets, of which each must end once and in a status that agrees

constexpr int kTickets = 1 << 16;

struct Ticket {
    std::atomic<bool> isOrdered;
    std::atomic<int> starts;
    std::atomic<int> ends;
};

Ticket tickets[kTickets];

void keepBooks(const AF_Event_ST *event, void *) {
    Ticket &ticket = tickets[event->ticket % kTickets];
    (event->outcome == AF_OUTCOME_NONE ? ticket.starts : ticket.ends) += 1;
    if (event->outcome == AF_OUTCOME_NONE && event->ticket % 16 == 0)
        AF_Manager_Cancel_API(event->ticket);
}

unsigned short drawPosition(SeededRandom &random) {
    return static_cast<unsigned short>(random.drawBits());
}

int placeOrder(SeededRandom &random) {
    switch (random.drawBetween(0, 13)) {
    case 0:
        return AF_Manager_Zoom_Tele_API();
    case 1:
        return AF_Manager_Zoom_Wide_API();
    case 2:
        return AF_Manager_Zoom_Stop_API();
    case 3:
        return AF_Manager_Focus_Near_API();
    case 4:
        return AF_Manager_Focus_Far_API();
    case 5:
        return AF_Manager_Focus_Stop_API();
    case 6:
        return AF_Manager_Autofocus_API();
    case 7:
        return AF_Manager_Zoom_To_API(drawPosition(random));
    case 8:
        return AF_Manager_Focus_To_API(drawPosition(random));
    case 9:
        return AF_Manager_Preset_Call_API(random.drawBetween(0, 3));
    case 10:
        return AF_Manager_Preset_Set_API(random.drawBetween(0, 3));
    case 11:
        return AF_Manager_Preset_Clear_API(random.drawBetween(-1, 255));
    case 12:
        return AF_Manager_Home_API();
    default:
        return random.drawBetween(0, 5) == 0 ? AF_Manager_Calibrate_API() : -1;
    }
}

void order(SeededRandom &random) {
    const int ticket = placeOrder(random);
    if (ticket > 0)
        tickets[ticket % kTickets].isOrdered = true;
    if (ticket > 0 && random.drawBetween(0, 7) == 0)
        AF_Manager_Wait_Ticket_API(ticket, random.drawBetween(0, 3000));
}

void expectEveryTicketEnded() {
    for (int ticket = 0; ticket < kTickets; ++ticket) {
        const Ticket &seen = tickets[ticket];
        const bool isKnown = seen.isOrdered || seen.starts > 0;
        const bool isOfThePort = replies != 0 && seen.ends == 1; // replaced before it began
        EXPECT_EQ(seen.ends, isKnown || isOfThePort ? 1 : 0) << "ticket " << ticket;
        EXPECT_LE(seen.starts, 1) << "ticket " << ticket;
    }
}

const Acts kOrderActs = {
    {12, order},
    {2, [](SeededRandom &) { AF_Manager_Cancel_API(0); }},
    {1, [](SeededRandom &r) { AF_Manager_Cancel_API(r.drawBetween(1, 500)); }}};

// ---- The service tool's thread. Its zoom steps check no limit: only the careful requests.

void requestByHand(SeededRandom &random) {
    const unsigned flags[] = {0, 3, 4, 6, 9, 10, 11};
    const unsigned subCommands[] = {4, 16, 250, 252};
    manualCtrlFun(flags[random.drawBetween(0, 6)], subCommands[random.drawBetween(0, 3)],
                  static_cast<unsigned>(random.drawBetween(0, 20)));
}

const Acts kServiceActs = {{1, requestByHand}};

// ---- The scenery

const Acts kSceneryActs = {
    {3, [](SeededRandom &r) { vcam::setObjectDistanceM(kNearestM + 30 * r.drawUnit()); }},
    {1, [](SeededRandom &r) { vcam::setNight(r.drawBetween(0, 1) == 1); }},
    {1,
     [](SeededRandom &r) {
         vcam::stallFramesUntilUs(vcam::nowUs() + r.drawBetween(0, 2500) * 1000);
     }},
};

// ---- One storm

struct Actor {
    const Acts &acts;
    int longestPauseMs;
    uint64_t seed;
    uint64_t purpose;
};

void performOne(const Acts &acts, SeededRandom &random) {
    int total = 0;
    for (const Act &act : acts)
        total += act.weight;
    int drawn = random.drawBetween(1, total);
    const Act *act = acts.data();
    while ((drawn -= act->weight) > 0)
        ++act;
    act->perform(random);
}

/// Bursts and lulls: half of the pauses are a hundredth of the others.
void *actAtRandom(void *argument) {
    const Actor &actor = *static_cast<const Actor *>(argument);
    SeededRandom random(actor.seed, actor.purpose);
    const int64_t endUs = vcam::nowUs() + kStormUs;
    while (vcam::nowUs() < endUs) {
        const int64_t pauseUs = random.drawBetween(0, actor.longestPauseMs) * 1000;
        vcam::sleepUs(random.drawBetween(0, 1) == 0 ? pauseUs : pauseUs / 100);
        performOne(actor.acts, random);
        __atomic_add_fetch(&tally->acts, 1, __ATOMIC_RELAXED);
    }
    return nullptr;
}

/// An inquiry, shifted by one byte from one time to the next: whatever the damaged frames have left
/// half read, one of them meets the start of a frame.
void expectAnswer() {
    vcam::cameraSent();
    for (int i = 0; i < 16; ++i) {
        vcam::Bytes shifted = vcam::kAskZoom;
        shifted.push_back(0xFF);
        scenario::send(shifted);
        scenario::passMs(100);
    }
    const vcam::Bytes sent = vcam::cameraSent();
    ASSERT_GE(sent.size(), 7u) << "no answer to an inquiry";
    EXPECT_EQ(sent[0], 0x90);
    EXPECT_EQ(sent[1], 0x50);
    EXPECT_EQ(sent[6], 0xFF);
}

/// The settings of a camera whose lens has flaws: most of what there is, each value now and then.
void chooseRobust(SeededRandom &random) {
    AF_Manager_Set_Setting_API(AF_SETTING_FOCUS_SEARCH, random.drawBetween(0, 3) == 0 ? 0 : 1);
    AF_Manager_Set_Setting_API(AF_SETTING_FOCUS_BACKLASH, random.drawBetween(0, 12));
    AF_Manager_Set_Setting_API(AF_SETTING_STATISTICS_DELAY, random.drawBetween(-1, 4));
    AF_Manager_Set_Setting_API(AF_SETTING_TRACKING, 1);
    AF_Manager_Set_Setting_API(AF_SETTING_RECOVERY, 1);
    vcam::Flaws flaws;
    flaws.backlashFocus = random.drawBetween(0, 12);
    flaws.delay = random.drawBetween(0, 4);
    flaws.flicker = 0.05;
    vcam::setFlaws(flaws);
}

void runStorm(uint64_t seed) {
    Actor actors[] = {
        {kHostActs, 4000, seed, 100},
        {kHostActs, 4000, seed, 101},
        {kMailboxActs, 6000, seed, 102},
        {replies == 0 ? kSerialActs : kAnsweredActs, replies == 0 ? 3000 : 700, seed, 103},
        {kServiceActs, 40000, seed, 104},
        {kSceneryActs, 20000, seed, 105},
        {kOrderActs, 4000, seed, 106},
        {kOrderActs, 4000, seed, 107},
    };
    std::vector<pthread_t> threads;
    SeededRandom random(seed, 99);
    g_LensType = static_cast<int>(seed % 2);
    AF_Manager_Init_EventFun_API(keepBooks, nullptr);
    AF_Manager_Set_Setting_API(AF_SETTING_SERIAL_REPLIES, replies);
    if (isRobust)
        chooseRobust(random);
    scenario::startLibrary();
    scenario::passMs(random.drawBetween(0, 20000)); // now and then the storm comes first
    pthread_t listener;
    if (replies != 0) {
        ASSERT_EQ(pthread_create(&listener, nullptr, listen, nullptr), 0);
    }
    pthread_t manual;
    pthread_create(&manual, nullptr, manualCtrlThread, nullptr);
    for (Actor &actor : actors)
        ASSERT_EQ(pthread_create(&threads.emplace_back(), nullptr, actAtRandom, &actor), 0);
    if (random.drawBetween(1, kStopApiOneIn) == 1) {
        scenario::passMs(random.drawBetween(30000, 120000));
        AF_Manager_Stop_API();
    }
    for (pthread_t thread : threads)
        pthread_join(thread, nullptr);
    scenario::waitSettled(kSettleS);
    scenario::expectSound();
    expectEveryTicketEnded();
    EXPECT_TRUE(vcam::isStanding());
    EXPECT_EQ(memcmp(&g_APGroupInfo, &scenario::host().presets, sizeof g_APGroupInfo), 0);
    if (replies != 0)
        expectBalancedBooks(listener);
    expectAnswer();
    __atomic_add_fetch(&tally->virtualUs, vcam::nowUs(), __ATOMIC_RELAXED);
}

/// A storm in one order of the threads that are due at once.
bool isCalm(uint64_t seed, uint64_t tieSeed, const std::string &traceFile,
            bool onKernelThreads = false) {
    vcam::CameraOptions options;
    options.kernelThreads = onKernelThreads;
    options.seed = seed;
    options.tieSeed = tieSeed;
    options.lensType = static_cast<int>(seed % 2);
    options.traceFile = traceFile;
    const scenario::Ending ending = scenario::runToEnd(options, [=] { runStorm(seed); });
    if (ending.status != 0)
        printf("%sstatus %d seed %" PRIu64 " failed; replay: ./run storm %" PRIu64
               " --ties %" PRIu64 " --replies %d%s\n",
               ending.said.c_str(), ending.status, seed, seed, tieSeed, replies,
               isRobust ? " --robust" : "");
    fflush(stdout);
    return ending.status == 0;
}

/// A storm on contexts and one on kernel threads, which leave the same trace to the byte.
bool isSameBothWays(uint64_t seed, uint64_t tieSeed) {
    const scenario::TemporaryFolder folder;
    const bool areCalm = isCalm(seed, tieSeed, folder.file("contexts")) &&
                         isCalm(seed, tieSeed, folder.file("threads"), true);
    const bool isSame = areCalm && scenario::readAll(folder.file("contexts")) ==
                                       scenario::readAll(folder.file("threads"));
    if (areCalm && !isSame)
        printf("seed %" PRIu64 " --ties %" PRIu64 " differs on kernel threads\n", seed, tieSeed);
    return isSame;
}

// ---- Many of them

constexpr int kMostSeeds = 1000000000;

} // namespace

int main(int argc, char **argv) {
    std::vector<int> seeds = {1, 500};
    uint64_t tieSeed = 0;
    std::string traceFile;
    bool playsBothWays = false;
    CLI::App app("Random commands from everybody at once, each seed twice: threads that are due at "
                 "the same instant go on in the order of their start, then in one drawn by lot.",
                 "storm");
    app.add_option("seeds", seeds, "SEED or FIRST-LAST, 1-500 if left out")
        ->delimiter('-')
        ->expected(1, 2)
        ->check(CLI::Range(1, kMostSeeds));
    const CLI::Option *ties =
        app.add_option("--ties", tieSeed,
                       "only with the lots of this seed; 0: in the order of their start")
            ->check(CLI::NonNegativeNumber);
    app.add_option("--replies", replies, "the port answers: 1 VISCA, 2 Pelco-D too")
        ->check(CLI::Range(0, 2));
    app.add_flag(
        "--robust", isRobust,
        "a lens with flaws, and the settings for it: robust search and tracking, slack, delay, "
        "recovery");
    app.add_option("--trace", traceFile, "keep the trace of one storm in one order here")
        ->needs("--ties");
    app.add_flag("--both-ways", playsBothWays,
                 "each on contexts and on kernel threads, and compare the traces");
    CLI11_PARSE(app, argc, argv);

    tally = vcam::share<Tally>();
    const int orders = *ties ? 1 : 2;
    const int first = seeds.front();
    const int last = seeds.back();
    if (last < first) {
        fprintf(stderr, "storm: %d-%d runs backward\n", first, last);
        return 2;
    }
    const int count = (last - first + 1) * orders;
    vcam::playAll(count, [&](int index) {
        const uint64_t seed = static_cast<uint64_t>(first + index / orders);
        const uint64_t drawn = orders == 1 ? tieSeed : seed;
        const uint64_t lots = index % orders == orders - 1 ? drawn : 0;
        const bool isGood =
            playsBothWays ? isSameBothWays(seed, lots) : isCalm(seed, lots, traceFile);
        if (!isGood)
            __atomic_add_fetch(&tally->failed, 1, __ATOMIC_RELAXED);
    });
    printf("%d storms, %ld failed: %ld acts in %lld virtual s\n", count, tally->failed, tally->acts,
           static_cast<long long>(tally->virtualUs / 1000000));
    if (replies != 0)
        printf("%ld commands acknowledged, each ended once\n", tally->acknowledged);
    return tally->failed == 0 ? 0 : 1;
}
