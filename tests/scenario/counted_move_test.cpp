// Moves of a counted number of steps and the soft start of a zoom: the words that reach the driver,
// period by period.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

using namespace scenario;

static void expectStoredAndTrue(unsigned zoom, unsigned focus) {
    EXPECT_EQ(host().savedPositions.back(), std::make_pair(zoom, focus));
    EXPECT_EQ(loadWord(&ZM_Step_Local), zoom);
    EXPECT_EQ(loadWord(&FM_Step_Local), focus);
    expectSound();
}

// ---- From the photo-interrupters to a destination ----

TEST(CountedMove, each_axis_ramps_carries_its_remainder_and_holds_while_the_other_goes_on) {
    const struct {
        unsigned zoom, focus;
        const char *text;
    } rows[] = {
        {16764, 11660,                                // 20 toward tele, 300 toward far
         "24=0414 25=0582 29=0520 2a=0371 VD 25000\n" // 20 and 32
         "24=0600 29=0530 2a=024b VD 25000\n"         // 48
         "29=0540 2a=01b8 VD 25000\n"                 // 64
         "29=0550 2a=0160 VD 25000\n"                 // 80
         "29=054c 2a=0173 VD 25000\n"                 // the remaining 76
         "29=0600 VD 25000\n"},
        {16744, 11460, // 0 and 100 toward far
         "24=0500 25=6e2b 29=0520 2a=0371 VD 25000\n"
         "24=0600 29=0530 2a=024b VD 25000\n"
         "29=0514 2a=0582 VD 25000\n"
         "29=0600 VD 25000\n"},
    };
    run([&] {
        startParked();
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << "to " << row.zoom << ", " << row.focus);
            ASSERT_EQ(Lens_Check_PIPosition(), 0);
            const int64_t startUs = vcam::nowUs();
            Lens_To_Destination(row.zoom, row.focus);
            EXPECT_EQ(motorText(startUs), row.text);
            expectStoredAndTrue(row.zoom, row.focus);
        }
    });
}

// 32, 48, 64, 80, 96, 112 and then 128 steps a period.
TEST(CountedMove, totals_at_the_edges_of_the_ramp_take_the_fewest_periods) {
    const struct {
        unsigned zoom, focus;
        std::vector<int> zoomRuns, focusRuns;
        size_t periods; // the closing one included
    } rows[] = {
        {16744, 11360, {}, {}, 2},
        {16745, 11359, {1}, {-1}, 2},
        {16776, 11327, {32}, {-32, -1}, 3},
        {16665, 11439, {-32, -47}, {32, 47}, 3},
        {16664, 11440, {-32, -48}, {32, 48}, 3},
        {16663, 11441, {-32, -48, -1}, {32, 48, 1}, 4},
        {17176, 11360, {32, 48, 64, 80, 96, 112}, {}, 7},
        {17305, 11920, {32, 48, 64, 80, 96, 112, 128, 1}, {32, 48, 64, 80, 96, 112, 128}, 9},
        {17432, 11360, {32, 48, 64, 80, 96, 112, 128, 128}, {}, 9},
    };
    run([&] {
        startParked();
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << "to " << row.zoom << ", " << row.focus);
            ASSERT_EQ(Lens_Check_PIPosition(), 0);
            const int64_t startUs = vcam::nowUs();
            Lens_To_Destination(row.zoom, row.focus);
            EXPECT_EQ(motorRuns("AB", startUs), row.zoomRuns);
            EXPECT_EQ(motorRuns("CD", startUs), row.focusRuns);
            EXPECT_EQ(vcam::nowUs() - startUs, static_cast<int64_t>(row.periods) * 25000);
            expectStoredAndTrue(row.zoom, row.focus);
        }
    });
}

TEST(CountedMove, destination_outside_the_travel_is_cut_to_the_limits) {
    const struct {
        unsigned zoom, focus, reachedZoom, reachedFocus;
    } rows[] = {
        {10215, 9999, 10216, 10000}, {20489, 14869, 20488, 14868}, {0, 0xFFFFFFFF, 10216, 14868}};
    run([&] {
        startParked();
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << "to " << row.zoom << ", " << row.focus);
            ASSERT_EQ(Lens_Check_PIPosition(), 0);
            Lens_To_Destination(row.zoom, row.focus);
            expectStoredAndTrue(row.reachedZoom, row.reachedFocus);
        }
    });
}

// ---- Soft start ----

TEST(SoftStart, a_quarter_of_the_step_runs_slowly_and_the_rest_in_the_running_column) {
    const struct {
        MS_Action_em zType;
        unsigned char zStep;
        MS_Action_em fType;
        unsigned char fStep;
        const char *text;
    } rows[] = {
        {MS_Z_TELE, 192, MS_F_NEAR, 32,
         "24=0430 25=024b 29=0408 2a=0dc5 VD 28203\n" // 48 and 8
         "24=0490 25=0104 29=0418 2a=061b VD 37524\n"},
        {MS_Z_TELE, 56, MS_F_FAR, 133, // the focus is the faster one and chooses the rows
         "24=040e 25=0648 29=0521 2a=02aa VD 22515\n" // 14 and 33
         "24=042a 25=029f 29=0564 2a=011a VD 28203\n"},
        {MS_Z_WIDE, 3, MS_F_FAR, 1, // quarters that come to nothing
         "24=0500 25=4aac 29=0500 2a=4aac VD 19116\n"
         "24=0503 25=18e4 29=0501 2a=4aac VD 19116\n"},
        {MS_Z_WIDE, 16, MS_NONE, 0,
         "24=0504 25=12ab 29=0600 VD 19116\n"
         "24=050c 25=0639 29=0600 VD 19116\n"},
    };
    run([&] {
        startParked();
        placeLens(15000, 12000);
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << int(row.zStep) << " and " << int(row.fStep));
            const int64_t startUs = vcam::nowUs();
            Lens_Starting(row.zType, row.zStep, row.fType, row.fStep);
            EXPECT_EQ(motorText(startUs), row.text);
            EXPECT_EQ(countSaid("Invaled type: 4", startUs), row.fType == MS_NONE ? 1 : 0);
            expectSound();
        }
    });
}

// ---- Focus-only moves ----

TEST(FocusRun, uninterrupted_move_ramps_by_16_and_ends_with_the_brake) {
    const struct {
        MS_Action_em type;
        int steps;
        const char *text;
    } rows[] = {
        {MS_F_FAR, 100,
         "29=0510 2a=02c1 VD 10000\n29=0520 2a=0160 VD 10000\n29=0530 2a=00eb VD 10000\n"
         "29=0504 2a=0b04 VD 10000\n29=0600 VD 10000\n"},
        {MS_F_NEAR, 16, "29=0410 2a=02c1 VD 10000\n29=0600 VD 10000\n"},
        {MS_F_NEAR, 17, "29=0410 2a=02c1 VD 10000\n29=0401 2a=2c10 VD 10000\n29=0600 VD 10000\n"},
        {MS_F_FAR, 47, "29=0510 2a=02c1 VD 10000\n29=051f 2a=016b VD 10000\n29=0600 VD 10000\n"},
        {MS_F_FAR, 0, ""},
    };
    run([&] {
        startParked();
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << row.steps << " steps");
            const int64_t startUs = vcam::nowUs();
            EXPECT_EQ(lensMotorFocusRunSteps(row.type, row.steps), 0);
            EXPECT_EQ(motorText(startUs), row.text);
            EXPECT_EQ(countSaid("Stop and fSteps:0.", startUs), row.steps == 0 ? 1 : 0);
            expectSound();
        }
    });
}

static void *interruptAfter15Ms(void *) {
    passMs(15);
    command(CMD_MFMODE);
    return nullptr;
}

TEST(FocusRun, command_stops_it_after_the_period_in_hand_and_keeps_the_next_one_still) {
    run([] {
        startParked();
        command(CMD_FSTOP); // stands too, and does not interrupt focusing
        pthread_t other;
        ASSERT_EQ(pthread_create(&other, nullptr, interruptAfter15Ms, nullptr), 0);
        const int64_t startUs = vcam::nowUs();
        EXPECT_EQ(lensMotorFocusRun(MS_F_FAR, 1000), 1);
        EXPECT_EQ(lensMotorFocusRun(MS_F_FAR, 100), 1); // the command is still there
        pthread_join(other, nullptr);
        EXPECT_EQ(motorText(startUs), "29=0510 2a=02c1 VD 10000\n"
                                      "29=0520 2a=0160 VD 10000\n"
                                      "29=0530 2a=00eb 29=0600 VD 10000\n");
        EXPECT_EQ(countSaid("Stop and fSteps:100.", startUs), 1);
        EXPECT_EQ(loadWord(&FM_Step_Local), 12282u);
        expectSound();
    });
}
