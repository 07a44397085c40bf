// Zoom held by a command: the line that the focus follows, and the ways in which a zoom ends.
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

static const int64_t kSoftStartUs = 28203 + 37524;
static const int64_t kQuarterUs = 45076;
static const std::string kFromWide = "24=0430 25=024b 29=0408 2a=0dc5 VD 28203\n"  // 48 and 8
                                     "24=0490 25=0104 29=0418 2a=061b VD 37524\n"; // 144 and 24
static const std::string kSecondQuarter = "24=04c0 25=00ea 29=0420 2a=0580 VD 45076\n";

TEST(ZoomTracking, wide_from_tele_follows_the_2m_line_when_the_focus_stands_before_it) {
    run([] {
        startParked();
        placeLens(20488, 12000);
        holdUntilStored(CMD_WIDE);
        EXPECT_EQ(host().savedPositions.back(), Place(10216, 12090));
    });
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
        const std::string flatCutAtLimit = "24=04c0 25=00ea 29=0600 VD 45076\n"
                                           "24=04c0 25=00ea 29=0508 2a=1602 VD 45076\n"
                                           "24=04c0 25=00ea 29=0500 2a=b014 VD 45076\n"
                                           "24=04c0 25=00ea 29=0600 VD 45076\nVD 45076\n";
        EXPECT_EQ(motorText(pollUs + kSoftStartUs).find(flatCutAtLimit), 0u);
        EXPECT_EQ(host().savedPositions[2], Place(20488, 14868));
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
         kFromWide + kSecondQuarter + "VD 45076\nVD 45076\n24=04c0 25=00ea 29=0422 2a=052d "},
    };
    runEach(rows, [&](const auto &row) {
        startParked();
        g_FLineFlag = 1; // the line followed last has no say
        const int64_t pollUs = nextPollUs();
        command(CMD_TELE);
        vcam::sleepUntilUs(pollUs + row.afterUs);
        const unsigned zoom = loadWord(&ZM_Step_Local), focus = loadWord(&FM_Step_Local);
        EXPECT_EQ(zoom, 10216 + 192 * row.quarters);
        EXPECT_EQ(focus, 12234 - 32 * row.quarters);
        const unsigned short zoom16 = loadWord(&loadWord(&g_ShaPosInfo)->shRZPosition);
        EXPECT_EQ(zoom16, 6225 * row.quarters / 4); // of the way to the second ratio
        command(row.code);
        waitUntil([] { return host().savedPositions.size() == 3; }, 1, "the zoom ends");
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_ZSTOP)); // whatever has ended it
        EXPECT_EQ(motorText(pollUs), row.text + "24=0600 29=0600 VD 25000\n");
        EXPECT_EQ(host().savedPositions[2], Place(zoom, focus));
        expectSound();
    });
}
