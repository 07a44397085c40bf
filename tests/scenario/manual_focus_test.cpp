// Focus held by a command: two steps a period, the ends of the travel, and the way back that the
// next zoom or autofocus run takes; the ramped run that this way is.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

#include <thread>

using namespace scenario;

TEST(ManualFocus, two_steps_run_every_10_ms_until_another_command_or_the_limit) {
    const struct {
        unsigned focus;
        AF_CMD_em held, after20Ms;
        unsigned reached;
        std::string text;
    } rows[] = {
        {12234, CMD_NEAR, CMD_FSTOP, 12228,
         "29=0402 2a=1608 VD 10000\nVD 10000\nVD 10000\n29=0600 VD 10000\n"},
        {10009, CMD_NEAR, CMD_FOCUS, 10000, // which neither stops it nor starts a run
         "29=0402 2a=1608 VD 10000\nVD 10000\nVD 10000\nVD 10000\n"
         "29=0401 2a=2c10 VD 10000\n29=0600 VD 10000\n"},
        {14867, CMD_FAR, CMD_FAR, 14868, "29=0501 2a=2c10 VD 10000\n29=0600 VD 10000\n"},
        {14868, CMD_FAR, CMD_FAR, 14868, ""},
    };
    runEach(rows, [&](const auto &row) {
        startParked();
        placeLens(10216, row.focus);
        const size_t stored = host().savedPositions.size();
        const int64_t pollUs = nextPollUs();
        command(row.held);
        vcam::sleepUntilUs(pollUs + 20001);
        if (row.held != row.after20Ms)
            command(row.after20Ms);
        passMs(200);
        EXPECT_EQ(motorText(pollUs), row.text);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_FSTOP)); // the ending command is gone
        EXPECT_EQ(host().savedPositions.size(), stored + (row.text.empty() ? 0 : 1));
        EXPECT_EQ(host().savedPositions.back(), Place(10216, row.reached));
        expectSound();
    });
}

TEST(ManualFocus, next_zoom_or_autofocus_run_first_goes_back_to_where_the_first_move_began) {
    const struct {
        std::vector<std::pair<AF_CMD_em, unsigned>> held; // until two steps before that position
        AF_CMD_em next;
        std::string wayBack;
    } rows[] = {
        {{{CMD_NEAR, 12214}, {CMD_FAR, 12224}},
         CMD_TELE,
         "29=050a 2a=0468 VD 10000\n29=0600 VD 10000\n24=0430 25=024b 29=0408 2a=0dc5 VD 28203\n"},
        {{{CMD_FAR, 12244}, {CMD_FAR, 12254}},
         CMD_FOCUS,
         "29=0410 2a=02c1 VD 10000\n29=0404 2a=0b04 VD 10000\n29=0600 VD 10000\n"},
        {{{CMD_NEAR, 12224}, {CMD_FAR, 12234}},
         CMD_TELE, // there already
         "24=0430 25=024b 29=0408 2a=0dc5 VD 28203\n"},
    };
    runEach(rows, [&](const auto &row) {
        startParked();
        for (const auto &[code, position] : row.held) {
            const unsigned last = position + (code == CMD_NEAR ? 2 : -2u);
            command(code);
            waitUntil([&] { return loadWord(&FM_Step_Local) == last; }, 1, "it is near");
            command(CMD_FSTOP);
            passMs(60);
        }
        const int64_t fromUs = vcam::nowUs();
        command(row.next);
        passMs(200);
        const int64_t startUs = events("chip", "write", fromUs).front().timeUs;
        EXPECT_EQ(motorText(startUs).substr(0, row.wayBack.size()), row.wayBack);
        command(CMD_ZSTOP);
        waitIdle();
        EXPECT_EQ(FM_Focus_Flag, 0u);
        expectSound();
    });
}

TEST(FocusRun, move_ramps_by_16_ends_with_the_brake_and_heeds_a_command_after_the_period_in_hand) {
    run([] {
        startParked();
        const std::pair<int, const char *> rows[] = {{0, ""},
                                                     {1, "-1 "},
                                                     {16, "-16 "},
                                                     {17, "-16 -1 "},
                                                     {48, "-16 -32 "},
                                                     {49, "-16 -32 -1 "},
                                                     {200, "-16 -32 3x-48 -8 "}};
        for (const auto &[steps, runs] : rows) {
            const int64_t startUs = vcam::nowUs();
            EXPECT_EQ(lensMotorFocusRunSteps(MS_F_NEAR, steps), 0);
            EXPECT_EQ(runText("CD", startUs), runs);
        }
        command(CMD_FSTOP); // stands too, and does not interrupt focusing
        std::thread other([] { passMs(15), command(CMD_MFMODE); });
        const int64_t stoppedUs = vcam::nowUs();
        EXPECT_EQ(lensMotorFocusRun(MS_F_FAR, 1000), 1);
        EXPECT_EQ(lensMotorFocusRun(MS_F_FAR, 100), 1); // the command is still there
        other.join();
        EXPECT_EQ(motorText(stoppedUs), "29=0510 2a=02c1 VD 10000\n29=0520 2a=0160 VD 10000\n"
                                        "29=0530 2a=00eb 29=0600 VD 10000\n");
        expectSound();
    });
}
