// Zoom held by a command: the words and periods of each quarter, the line that the focus follows,
// and the ways in which a zoom ends.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

using namespace scenario;

/// Hold @p code until the zoom has ended by itself, then keep the autofocus run from moving.
static void holdUntilStored(AF_CMD_em code) {
    const size_t stored = host().savedPositions.size();
    command(code);
    waitUntil([&] { return host().savedPositions.size() > stored; }, 10, "the zoom has ended");
    command(CMD_MFMODE);
    passMs(200);
    expectSound();
}

/// The script from the first word on, cut to the length of what is expected.
static std::string scriptHead(int64_t fromUs, const std::string &expected) {
    return motorText(events("chip", "write", fromUs).front().timeUs).substr(0, expected.size());
}

static std::vector<int> join(std::vector<int> first, const std::vector<int> &rest) {
    first.insert(first.end(), rest.begin(), rest.end());
    return first;
}

/// The runs of the way back, whose first quarter is the soft start @p start.
static std::vector<int> wayBack(const std::vector<int> &start, const std::vector<int> &runs) {
    std::vector<int> back = start;
    for (auto run = runs.rbegin() + 1; run != runs.rend(); ++run)
        back.push_back(-*run);
    return back;
}

/// Zoom steps of the quarters from the second one to the tele end.
static std::vector<int> zoomQuarters() {
    return join(std::vector<int>(47, 192), {128, 128, 128, 128, 80, 80, 80, 80, 56, 56, 56, 56});
}

/// Focus steps of the same quarters on the built-in infinity line.
static const std::vector<int> kInfinityQuarters = {
    -32, -32, -32, -34, -34, -34, -34, -36, -36, -37, -37,      // sections 0 to 2
    -39, -39, -39, -39, -41, -41, -41, -41, -43, -43, -43, -43, // 3 to 5
    -43, -43, -43, -43, -42, -40, -42, -38, -38, -34, -32, -30, // 6 to 8
    -24, -18, -12, -4,  6,   18,  30,  48,  64,  88,  110, 140, // 9 to 11
    110, 130, 148, 170, 116, 128, 138, 154, 118, 120, 138, 134, // 12 to 14
};

static const std::string kFromWide = "24=0430 25=024b 29=0408 2a=0dc5 VD 28203\n"  // 48 and 8
                                     "24=0490 25=0104 29=0418 2a=061b VD 37524\n"; // 144 and 24
static const std::string kSecondQuarter = "24=04c0 25=00ea 29=0420 2a=0580 VD 45076\n";
static const std::string kSameAgain = "VD 45076\n";
static const std::string kBrakes = "24=0600 29=0600 VD 25000\n";

// ---- The whole way ----

TEST(ZoomTracking, tele_from_wide_takes_a_quarter_a_period_with_the_focus_on_the_infinity_line) {
    run([] {
        startParked();
        const int64_t pollUs = nextPollUs();
        holdUntilStored(CMD_TELE);
        const std::string head = kFromWide + kSecondQuarter + kSameAgain + kSameAgain +
                                 "24=04c0 25=00ea 29=0422 2a=052d VD 45076\n" + kSameAgain;
        EXPECT_EQ(motorText(pollUs).substr(0, head.size()), head); // begins with the poll
        EXPECT_EQ(motorRuns("AB", pollUs), join({48, 144}, zoomQuarters()));
        EXPECT_EQ(motorRuns("CD", pollUs), join({-8, -24}, kInfinityQuarters));
        std::vector<int> steepPeriods;
        const std::vector<Event> pulses = events("gpio", "vd", pollUs);
        for (size_t i = 2 + 47; i < pulses.size(); ++i)
            steepPeriods.push_back(std::stoi(pulses[i].get("period_us")));
        EXPECT_EQ(steepPeriods, (std::vector<int>{29625, 37524, 37524, 45076, 28203, 29625, 37524,
                                                  37524, 28203, 28203, 37524, 37524, 25000,
                                                  10000})); // an autofocus run that does not move
        EXPECT_EQ(host().savedPositions[2], std::make_pair(20488u, 12914u));
        EXPECT_EQ(countSaid("Range = [10216, 20488] zLocation = 10216 fLocation = 12234"), 1);
        EXPECT_EQ(countSaid("To Tele.", pollUs), 1);
        EXPECT_EQ(g_ZoomDir, MS_Z_TELE);
    });
}

TEST(ZoomTracking, wide_from_tele_follows_the_line_on_which_the_focus_stands) {
    const struct {
        unsigned focusAtTele;
        const char *line;
        int flag;
        unsigned focusAtWide;
    } rows[] = {
        {12914, "@@__INF__@@.", 0, 12234}, // on the infinity line
        {13000, "@@__INF__@@.", 0, 12320}, // beyond it, and as far beyond it at the end
        {12913, "@@__TMP__@@.", 2, 12234}, // 1 / 792 of the way is less than a step at wide
        {12518, "@@__TMP__@@.", 2, 12223}, // half way between the two
        {12490, "@@__TMP__@@.", 2, 12223}, // 11.78 of the 22 steps between them at wide
        {12122, "@@__222__@@.", 1, 12212}, // on the 2 m line
        {12000, "@@__222__@@.", 1, 12090},
    };
    run([&] {
        startParked();
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << "from focus " << row.focusAtTele);
            placeLens(20488, row.focusAtTele);
            const int64_t startUs = vcam::nowUs();
            const size_t stored = host().savedPositions.size();
            holdUntilStored(CMD_WIDE);
            EXPECT_EQ(countSaid("To Wide.", startUs), 1);
            EXPECT_EQ(countSaid(row.line, startUs), 1);
            EXPECT_EQ(g_FLineFlag, row.flag);
            EXPECT_EQ(g_ZoomDir, MS_Z_WIDE);
            EXPECT_EQ(host().savedPositions[stored], std::make_pair(10216u, row.focusAtWide));
            EXPECT_EQ(motorRuns("AB", startUs), join(wayBack({-14, -42}, zoomQuarters()), {-192}));
            if (row.focusAtTele == 12914) {
                EXPECT_EQ(motorRuns("CD", startUs),
                          join(wayBack({-33, -101}, kInfinityQuarters), {32}));
                const std::string head = "24=050e 25=0648 29=0421 2a=02aa VD 22515\n" // 14, 33
                                         "24=052a 25=029f 29=0465 2a=0117 VD 28203\n" // 42, 101
                                         "24=0538 25=029e 29=048a 2a=010f VD 37524\n";
                EXPECT_EQ(scriptHead(startUs, head), head);
            }
        }
    });
}

// ---- Ends of the travel ----

TEST(ZoomTracking, last_step_is_cut_to_the_limit_whatever_point_of_the_grid_it_started_from) {
    const struct {
        unsigned zoom, focus;
        AF_CMD_em code;
        int endOfGrid, flat; // traces of the plan at the grid's end and of a standing focus
        std::string text;
    } rows[] = {
        {10256, 12234, CMD_WIDE, 4, 3, // in the first quarter: 16 a period and no focus
         "24=0504 25=12ab 29=0600 VD 19116\n24=050c 25=0639 29=0600 VD 19116\n"
         "24=0510 25=04aa 29=0600 VD 19116\n24=0508 25=0955 29=0600 VD 19116\n" +
             kBrakes},
        {10217, 12234, CMD_WIDE, 2, 1, // a quarter of one step is none
         "24=0500 25=4aac 29=0600 VD 19116\n24=0501 25=4aac 29=0600 VD 19116\n" + kBrakes},
        {20440, 12788, CMD_TELE, 1, 0, // 8 beyond a quarter: the zoom is cut, the focus is not
         "24=040c 25=0754 29=0521 2a=02aa VD 22515\n"
         "24=0424 25=030f 29=0565 2a=0117 VD 28203\n" +
             kBrakes},
        {20488, 12914, CMD_TELE, 1, 0, ""}, // the autofocus run alone stores
        {10216, 12234, CMD_WIDE, 1, 0, ""},
    };
    run([&] {
        startParked();
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << "from " << row.zoom << " command " << row.code);
            placeLens(row.zoom, row.focus);
            const size_t stored = host().savedPositions.size();
            const int64_t startUs = vcam::nowUs();
            holdUntilStored(row.code);
            EXPECT_EQ(scriptHead(startUs, row.text), row.text);
            EXPECT_EQ(motorRuns("AB", startUs).empty(), row.text.empty());
            EXPECT_EQ(host().savedPositions.size(), stored + (row.text.empty() ? 1 : 2));
            const bool toWide = row.code == CMD_WIDE;
            EXPECT_EQ(
                countSaid(toWide ? "index1: 0 index2: 0 type: 0" : "index1: 15 index2: 0 type: 1",
                          startUs),
                row.endOfGrid);
            EXPECT_EQ(countSaid("Invaled type: 4", startUs), row.flat);
            EXPECT_EQ(loadWord(&ZM_Step_Local), toWide ? 10216u : 20488u);
        }
    });
}

TEST(ZoomTracking, lens_a_stops_at_its_limit_inside_the_last_section) {
    vcam::CameraOptions options;
    options.lensType = LENS_A;
    run(options, [] {
        g_LensType = LENS_A;
        startParked();
        EXPECT_EQ(countSaid("ERROR !!! ZM_Tele_Limit: 20080"), 1); // the grid ends at 20272
        placeLens(20048, 12404);
        const int64_t startUs = vcam::nowUs();
        holdUntilStored(CMD_TELE);
        const std::string expected = "24=0508 25=0955 29=041d 2a=0293 VD 19116\n"   // 8 of 32 and
                                     "24=0518 25=03aa 29=0459 2a=00fc VD 22515\n" + // 29 of 118
                                     kBrakes;
        EXPECT_EQ(scriptHead(startUs, expected), expected);
        EXPECT_EQ(loadWord(&ZM_Step_Local), 20080u);
    });
}

// ---- Lines from the host ----

TEST(ZoomTracking, focus_stands_over_a_flat_stretch_and_at_its_limit_while_the_zoom_goes_on) {
    const struct {
        unsigned row0[4], rest;
        unsigned focusAtTele;
        int flat;
        std::string quarters; // after the soft start
    } rows[] = {
        {{12234, 12202, 12202, 12250},
         12250,
         12250,
         58,
         "24=04c0 25=00ea 29=0600 VD 45076\n" // flat
         "24=04c0 25=00ea 29=0530 2a=03ab VD 45076\n"
         "24=04c0 25=00ea 29=0600 VD 45076\nVD 45076\n"},
        {{14850, 14860, 14900, 14950},
         14990,
         14868,
         56,
         "24=04c0 25=00ea 29=0508 2a=1602 VD 45076\n" // cut to the 8 that are left
         "24=04c0 25=00ea 29=0500 2a=b014 VD 45076\nVD 45076\n"
         "24=04c0 25=00ea 29=0600 VD 45076\n"},
        {{10010, 10000, 9960, 9960},
         9960,
         10000,
         58,
         "24=04c0 25=00ea 29=0400 2a=b014 VD 45076\n" // none left
         "24=04c0 25=00ea 29=0600 VD 45076\nVD 45076\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "line from " << row.row0[0]);
        run([&] {
            host().hasFocusLine = true;
            for (int i = 0; i < 16; ++i)
                for (int j = 0; j < 4; ++j)
                    host().focusLine.focus[i][j] = i == 0 ? row.row0[j] : row.rest;
            startParked();
            const int64_t pollUs = nextPollUs();
            holdUntilStored(CMD_TELE);
            const int64_t runningUs = pollUs + 28203 + 37524;
            EXPECT_EQ(scriptHead(runningUs, row.quarters), row.quarters);
            EXPECT_EQ(host().savedPositions[2], std::make_pair(20488u, row.focusAtTele));
            EXPECT_EQ(countSaid("Invaled type: 4", pollUs), row.flat);
        });
    }
}

// ---- Commands on the way ----

TEST(ZoomTracking, command_on_the_way_ends_the_zoom_after_the_period_in_hand) {
    const int64_t softUs = 28203 + 37524;
    const struct {
        AF_CMD_em code;
        int64_t afterUs;
        unsigned quarters; // the soft start, which is always finished, included
        std::string text;
    } rows[] = {
        {CMD_ZSTOP, 1000, 1, kFromWide},
        {CMD_NONE, softUs - 1, 1, kFromWide},
        {CMD_ZSTOP, softUs + 1, 2, kFromWide + kSecondQuarter},
        {CMD_WIDE, softUs + 45076 - 1, 2, kFromWide + kSecondQuarter},
        {CMD_FSTOP, softUs + 45076 + 1, 3, kFromWide + kSecondQuarter + kSameAgain},
        {CMD_NEAR, softUs + 2 * 45076 + 1, 4, // the next words wait for a period that never comes
         kFromWide + kSecondQuarter + kSameAgain + kSameAgain + "24=04c0 25=00ea 29=0422 2a=052d "},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "command " << row.code << " after " << row.afterUs);
        run([&] {
            startParked();
            const int64_t pollUs = nextPollUs();
            command(CMD_TELE);
            vcam::sleepUntilUs(pollUs + row.afterUs);
            command(row.code);
            waitUntil([] { return host().savedPositions.size() == 3; }, 1, "the zoom ends");
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_ZSTOP)); // whatever has ended it
            EXPECT_EQ(motorText(pollUs), row.text + kBrakes);
            EXPECT_EQ(host().savedPositions[2],
                      std::make_pair(10216 + 192 * row.quarters, 12234 - 32 * row.quarters));
            expectSound();
        });
    }
}

TEST(ZoomTracking, counters_and_published_position_are_ahead_of_the_pending_period) {
    const int64_t softUs = 28203 + 37524;
    const struct {
        int64_t afterUs;
        unsigned zoom, focus;
        int zoom16; // a quarter of the way to 6225, the second ratio, a time
    } rows[] = {{1, 10408, 12202, 1556},
                {softUs - 1, 10408, 12202, 1556},
                {softUs + 1, 10600, 12170, 3112},
                {softUs + 45076 + 1, 10792, 12138, 4668}};
    run([&] {
        startParked();
        const int64_t pollUs = nextPollUs();
        command(CMD_TELE);
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << "after " << row.afterUs);
            vcam::sleepUntilUs(pollUs + row.afterUs);
            EXPECT_EQ(loadWord(&ZM_Step_Local), row.zoom);
            EXPECT_EQ(loadWord(&FM_Step_Local), row.focus);
            unsigned short zoom16 = 0;
            EXPECT_EQ(lensGetZMapPosition(&zoom16), 0);
            EXPECT_EQ(zoom16, row.zoom16);
        }
    });
}
