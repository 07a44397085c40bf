// Zoom held by a command: the words and periods of each quarter, the line that the focus follows,
// and the ways in which a zoom ends.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

#include <algorithm>

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

/// Expect @p script from the first word since @p fromUs on.
static void expectScript(int64_t fromUs, const std::string &script) {
    const std::vector<Event> writes = events("chip", "write", fromUs);
    ASSERT_FALSE(writes.empty());
    EXPECT_EQ(motorText(writes[0].timeUs).substr(0, script.size()), script);
}

static const int64_t kSoftStartUs = 28203 + 37524;
static const int64_t kQuarterUs = 45076;
static const std::string kFromWide = "24=0430 25=024b 29=0408 2a=0dc5 VD 28203\n"  // 48 and 8
                                     "24=0490 25=0104 29=0418 2a=061b VD 37524\n"; // 144 and 24
static const std::string kSecondQuarter = "24=04c0 25=00ea 29=0420 2a=0580 VD 45076\n";
static const std::string kSameAgain = "VD 45076\n";
static const std::string kBrakes = "24=0600 29=0600 VD 25000\n";

TEST(ZoomTracking, tele_from_wide_takes_a_quarter_a_period_with_the_focus_on_the_infinity_line) {
    run([] {
        startParked();
        g_FLineFlag = 1; // the line followed last has no say
        const int64_t pollUs = nextPollUs();
        holdUntilStored(CMD_TELE);
        expectScript(pollUs, kFromWide + kSecondQuarter + kSameAgain + kSameAgain +
                                 "24=04c0 25=00ea 29=0422 2a=052d VD 45076\n" + kSameAgain);
        EXPECT_EQ(runText("AB", pollUs), "48 144 47x192 4x128 4x80 4x56 ");
        EXPECT_EQ(runText("CD", pollUs),
                  "-8 -24 3x-32 4x-34 2x-36 2x-37 4x-39 4x-41 8x-43 -42 -40 -42 2x-38 -34 -32 -30 "
                  "-24 -18 -12 -4 6 18 30 48 64 88 110 140 110 130 148 170 116 128 138 154 118 120 "
                  "138 134 ");
        EXPECT_EQ(host().savedPositions[2], std::make_pair(20488u, 12914u));
        EXPECT_EQ(countSaid("Range = [10216, 20488] zLocation = 10216 fLocation = 12234"), 1);
        EXPECT_EQ(countSaid("To Tele.", pollUs), 1);
        EXPECT_EQ(g_ZoomDir, MS_Z_TELE);
    });
}

TEST(ZoomTracking, wide_from_tele_follows_the_line_on_which_the_focus_stands) {
    const struct {
        unsigned focusAtTele, focusAtWide;
        const char *line;
    } rows[] = {
        {13000, 12320, "@@__INF__@@."}, // beyond it, and as far beyond it at the end
        {12490, 12223, "@@__TMP__@@."}, // 11.78 of the 22 steps between the two at wide
        {12000, 12090, "@@__222__@@."},
        {12914, 12234, "@@__INF__@@."},
    };
    run([&] {
        startParked();
        int64_t startUs = 0;
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << "from focus " << row.focusAtTele);
            placeLens(20488, row.focusAtTele);
            startUs = vcam::nowUs();
            const size_t stored = host().savedPositions.size();
            holdUntilStored(CMD_WIDE);
            EXPECT_EQ(countSaid("To Wide.", startUs), 1);
            EXPECT_EQ(countSaid(row.line, startUs), 1);
            EXPECT_EQ(host().savedPositions[stored], std::make_pair(10216u, row.focusAtWide));
            EXPECT_EQ(runText("AB", startUs), "-14 -42 3x-56 4x-80 4x-128 48x-192 ");
            EXPECT_EQ(g_ZoomDir, MS_Z_WIDE);
        }
        expectScript(startUs, "24=050e 25=0648 29=0421 2a=02aa VD 22515\n"
                              "24=052a 25=029f 29=0465 2a=0117 VD 28203\n"
                              "24=0538 25=029e 29=048a 2a=010f VD 37524\n");
    });
}

TEST(ZoomTracking, last_step_is_cut_to_the_limit_whatever_point_of_the_grid_it_started_from) {
    const struct {
        unsigned zoom, focus;
        AF_CMD_em code;
        unsigned reached;
        std::string text;
    } rows[] = {
        {10256, 12234, CMD_WIDE, 10216, // in the first quarter: 16 a period and no focus
         "24=0504 25=12ab 29=0600 VD 19116\n24=050c 25=0639 29=0600 VD 19116\n"
         "24=0510 25=04aa 29=0600 VD 19116\n24=0508 25=0955 29=0600 VD 19116\n"},
        {20440, 12788, CMD_TELE, 20488, // 8 beyond a quarter: only the zoom is cut
         "24=040c 25=0754 29=0521 2a=02aa VD 22515\n24=0424 25=030f 29=0565 2a=0117 VD 28203\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.zoom);
        run([&] {
            startParked();
            placeLens(row.zoom, row.focus);
            int64_t startUs = vcam::nowUs();
            holdUntilStored(row.code);
            expectScript(startUs, row.text + kBrakes);
            EXPECT_EQ(loadWord(&ZM_Step_Local), row.reached);
            startUs = vcam::nowUs();
            holdUntilStored(row.code); // at the limit nothing but the autofocus run stores
            EXPECT_EQ(motorRuns("AB", startUs), std::vector<int>());
            EXPECT_EQ(countSaid("index1: 0 index2: 0 type: 0", startUs), row.code == CMD_WIDE);
        });
    }
}

TEST(ZoomTracking, focus_stands_over_a_flat_stretch_and_at_its_limit_while_the_zoom_goes_on) {
    run([] {
        const unsigned section[] = {14800, 14860, 14860, 14900, 14990}; // it stays at the last one
        host().hasFocusLine = true;
        for (int point = 0; point < 64; ++point)
            host().focusLine.focus[point / 4][point % 4] = section[std::min(point, 4)];
        startParked();
        const int64_t pollUs = nextPollUs();
        holdUntilStored(CMD_TELE);
        EXPECT_EQ(runText("AB", pollUs), "48 144 47x192 4x128 4x80 4x56 ");
        EXPECT_EQ(runText("CD", pollUs), "15 45 8 ");
        expectScript(pollUs + kSoftStartUs,
                     "24=04c0 25=00ea 29=0600 VD 45076\n"         // flat
                     "24=04c0 25=00ea 29=0508 2a=1602 VD 45076\n" // cut
                     "24=04c0 25=00ea 29=0500 2a=b014 VD 45076\n" // at the limit
                     "24=04c0 25=00ea 29=0600 VD 45076\nVD 45076\n");
        EXPECT_EQ(host().savedPositions[2], std::make_pair(20488u, 14868u));
        EXPECT_EQ(countSaid("Invaled type: 4", pollUs), 57);
    });
}

// The counters and the published position are ahead of the pending period all the time.
TEST(ZoomTracking, command_on_the_way_ends_the_zoom_after_the_period_in_hand) {
    const struct {
        AF_CMD_em code;
        int64_t afterUs;
        unsigned quarters; // the soft start, which is always finished, included
        std::string text;
    } rows[] = {
        {CMD_NONE, kSoftStartUs - 1, 1, kFromWide},
        {CMD_ZSTOP, kSoftStartUs + 1, 2, kFromWide + kSecondQuarter},
        {CMD_NEAR, kSoftStartUs + 2 * kQuarterUs + 1, 4, // the last words are never latched
         kFromWide + kSecondQuarter + kSameAgain + kSameAgain + "24=04c0 25=00ea 29=0422 2a=052d "},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "command " << row.code << " after " << row.afterUs);
        run([&] {
            startParked();
            const int64_t pollUs = nextPollUs();
            command(CMD_TELE);
            vcam::sleepUntilUs(pollUs + row.afterUs);
            unsigned zoom = 0, focus = 0;
            Lens_Get_Location(&zoom, &focus);
            EXPECT_EQ(zoom, 10216 + 192 * row.quarters);
            EXPECT_EQ(focus, 12234 - 32 * row.quarters);
            unsigned short zoom16 = 0;
            EXPECT_EQ(lensGetZMapPosition(&zoom16), 0);
            EXPECT_EQ(zoom16, 6225 * row.quarters / 4); // of the way to the second ratio
            command(row.code);
            waitUntil([] { return host().savedPositions.size() == 3; }, 1, "the zoom ends");
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_ZSTOP)); // whatever has ended it
            EXPECT_EQ(motorText(pollUs), row.text + kBrakes);
            EXPECT_EQ(host().savedPositions[2], std::make_pair(zoom, focus));
            expectSound();
        });
    }
}
