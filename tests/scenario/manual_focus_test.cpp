// Focus held by a command: two steps a period, the ends of the travel, and the way back that the
// next zoom or autofocus run takes.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

using namespace scenario;

/// Hold @p code for so many periods and stop.
static void holdFocus(AF_CMD_em code, int64_t periods) {
    const int64_t fromUs = vcam::nowUs();
    const size_t stored = host().savedPositions.size();
    command(code);
    waitUntil([&] { return !events("gpio", "vd", fromUs).empty(); }, 1, "the focus moves");
    vcam::sleepUntilUs(events("gpio", "vd", fromUs).front().timeUs + periods * 10000 - 1);
    command(CMD_FSTOP);
    waitUntil([&] { return host().savedPositions.size() > stored; }, 1, "the focus stops");
    expectSound();
}

TEST(ManualFocus, two_steps_run_every_10_ms_until_another_command_comes) {
    const struct {
        AF_CMD_em held, ending;
        unsigned focus;
        std::string words;
    } rows[] = {{CMD_NEAR, CMD_FSTOP, 12228, "29=0402 2a=1608 "},
                {CMD_FAR, CMD_TELE, 12240, "29=0502 2a=1608 "}};
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.held << " ended by " << row.ending);
        run([&] {
            startParked();
            const int64_t pollUs = nextPollUs();
            command(row.held);
            vcam::sleepUntilUs(pollUs + 20001);
            command(row.ending);
            passMs(200);
            EXPECT_EQ(motorText(pollUs),
                      row.words + "VD 10000\nVD 10000\nVD 10000\n29=0600 VD 10000\n");
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_FSTOP)); // the ending command is gone
            EXPECT_EQ(loadWord(&g_AutoCheckFlag), 0);
            EXPECT_EQ(host().savedPositions.size(), 3u);
            EXPECT_EQ(host().savedPositions[2], std::make_pair(10216u, row.focus));
            expectSound();
        });
    }
}

TEST(ManualFocus, last_step_is_cut_to_the_limit_and_a_blocked_command_stores_nothing) {
    const struct {
        unsigned focus;
        AF_CMD_em code;
        unsigned reached;
        std::string text;
    } rows[] = {
        {10003, CMD_NEAR, 10000,
         "29=0402 2a=1608 VD 10000\n29=0401 2a=2c10 VD 10000\n29=0600 VD 10000\n"},
        {14867, CMD_FAR, 14868, "29=0501 2a=2c10 VD 10000\n29=0600 VD 10000\n"},
        {14864, CMD_FAR, 14868, "29=0502 2a=1608 VD 10000\nVD 10000\n29=0600 VD 10000\n"},
        {10000, CMD_NEAR, 10000, ""},
        {14868, CMD_FAR, 14868, ""},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << "from " << row.focus);
        run([&] {
            startParked();
            placeLens(10216, row.focus);
            const size_t stored = host().savedPositions.size();
            const int64_t pollUs = nextPollUs();
            command(row.code);
            vcam::sleepUntilUs(pollUs + 100000);
            EXPECT_EQ(motorText(pollUs), row.text);
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_FSTOP));
            EXPECT_EQ(host().savedPositions.size(), stored + (row.text.empty() ? 0 : 1));
            EXPECT_EQ(host().savedPositions.back(), std::make_pair(10216u, row.reached));
            EXPECT_EQ(FM_Focus_Flag, row.text.empty() ? 0u : 1u);
            expectSound();
        });
    }
}

TEST(ManualFocus, focus_request_neither_stops_the_move_nor_starts_a_run) {
    run([] {
        startParked();
        placeLens(10216, 10050);
        const int64_t pollUs = nextPollUs();
        command(CMD_NEAR);
        vcam::sleepUntilUs(pollUs + 15000);
        command(CMD_FOCUS);
        passMs(500);
        EXPECT_EQ(motorRuns("CD", pollUs), std::vector<int>(25, -2)); // to the limit
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_FSTOP));
        EXPECT_EQ(countSaid("______Start______", pollUs), 0);
        expectSound();
    });
}

TEST(ManualFocus, next_zoom_or_autofocus_run_first_goes_back_to_where_the_first_move_began) {
    const struct {
        AF_CMD_em first, second, next;
        int64_t firstPeriods, secondPeriods;
        std::string wayBack;
    } rows[] = {
        {CMD_NEAR, CMD_FAR, CMD_TELE, 10, 5, // 20 near and 10 far
         "29=050a 2a=0468 VD 10000\n29=0600 VD 10000\n24=0430 25=024b 29=0408 2a=0dc5 VD 28203\n"},
        {CMD_FAR, CMD_FAR, CMD_FOCUS, 5, 5,
         "29=0410 2a=02c1 VD 10000\n29=0404 2a=0b04 VD 10000\n29=0600 VD 10000\n"},
        {CMD_NEAR, CMD_NEAR, CMD_WIDE, 1, 1, // at its limit, the zoom does not move
         "29=0504 2a=0b04 VD 10000\n29=0600 VD 10000\n"},
        {CMD_NEAR, CMD_FAR, CMD_TELE, 5, 5, // there already
         "24=0430 25=024b 29=0408 2a=0dc5 VD 28203\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.first << ", " << row.second << ", " << row.next);
        run([&] {
            startParked();
            holdFocus(row.first, row.firstPeriods);
            holdFocus(row.second, row.secondPeriods);
            EXPECT_EQ(FM_Focus_Flag, 1u);
            EXPECT_EQ(FM_Focus_Start, 12234u);
            const int64_t fromUs = vcam::nowUs();
            command(row.next);
            passMs(200);
            const int64_t startUs = events("chip", "write", fromUs + 1).front().timeUs;
            EXPECT_EQ(motorText(startUs).substr(0, row.wayBack.size()), row.wayBack);
            command(CMD_ZSTOP);
            waitIdle();
            EXPECT_EQ(FM_Focus_Flag, 0u);
            expectSound();
        });
    }
}
