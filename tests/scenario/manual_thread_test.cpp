// The manual stepping thread, which a host starts and asks for one action at a time.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

using namespace scenario;

static const int64_t kFrameUs = 40000;

/// Ask and wait until the action is over: each one ends by storing where the lens truly is. When
/// that began.
static int64_t request(unsigned flag, unsigned step, unsigned vdfz, size_t stores = 1) {
    const int64_t startUs = vcam::nowUs();
    const size_t saved = host().savedPositions.size();
    manualCtrlFun(flag, step, vdfz);
    waitUntil([&] { return host().savedPositions.size() == saved + stores; }, 300, "it is done");
    EXPECT_EQ(truePlace(), host().savedPositions.back());
    expectSound();
    return startUs;
}

TEST(ManualThread,
     focus_moves_one_group_more_than_asked_a_frame_each_and_zoom_as_often_at_the_vd_rate) {
    const struct {
        unsigned focus, flag, step, vdfz;
        std::vector<int> groups;
    } rows[] = {
        {12234, 4, 16, 0xFFFFFFFF, {16}},
        {12234, 3, 256 + 8, 1, {-8, -8}},
        {14848, 4, 8, 10, {8, 8, 4}},
        {10000, 3, 8, 10, {}},
    };
    run([&] {
        startParked();
        startManualThread();
        for (const auto &row : rows) {
            SCOPED_TRACE(testing::Message() << row.step << " from " << row.focus);
            placeLens(10216, row.focus);
            const int64_t startUs = request(row.flag, row.step, row.vdfz);
            EXPECT_EQ(motorRuns("CD", startUs), row.groups);
            int64_t frameUs = startUs / kFrameUs * kFrameUs;
            for (const Event &group : events("chip", "run", startUs))
                EXPECT_EQ(group.timeUs, frameUs += kFrameUs);
        }
        placeLens(10984, 12106);
        EXPECT_EQ(motorText(request(2, 32, 3)), "24=0420 25=0371 VD 25000\nVD 25000\nVD 25000\n"
                                                "24=0600 29=0600 VD 25000\n");
        EXPECT_EQ(motorText(request(1, 32, 0xFFFFFFFF)),
                  "24=0520 25=0371 24=0600 29=0600 VD 25000\n");
    });
}

TEST(ManualThread, service_action_ends_where_it_should_with_its_advice_and_the_position) {
    const struct {
        unsigned flag, step, focus;
        size_t stores;
        const char *said;
    } rows[] = {
        {10, 0, 12234, 1, "[10216, 20488] zLocation = 16744 fLocation = 11360"},
        {6, 0, 12300, 2, "[10216, 20488] zLocation = 10216 fLocation = 12234"},
        {11, 0, 12300, 1, "[10216, 20488] zLocation = 10216 fLocation = 12300"}, // no action
        {9, 250, 12234, 1, "Line:251 Skip to 2M Line."},
        {9, 250, 12234, 1, "Line:251 Skip to INF Line."},
        {9, 252, 12212, 1, "Line:271 Maybe should use curve of INF."},
        {9, 252, 12234, 1, "Line:275 Maybe should use curve of 2M."},
        {9, 252, 12234, 1, "Line:267 [12212,12234], FM: 12234"},
        {9, 252, 12222, 1, "Line:288 Maybe should use curve of INF."},
        {9, 252, 12223, 1, "Line:285 Maybe should use curve of 2M."},
    };
    run([&] {
        startParked();
        startManualThread();
        for (const auto &row : rows) {
            placeLens(10216, row.focus);
            const int64_t startUs = request(row.flag, row.step, 0, row.stores);
            EXPECT_EQ(countSaid(row.said, startUs), 1) << row.said;
        }
    });
}

TEST(ManualThread, action_waits_for_the_lens_command_in_hand_and_the_next_one_for_the_action) {
    run([] {
        startAndSettle();
        startManualThread();
        const int64_t startUs = vcam::nowUs();
        command(CMD_TELE);
        passMs(300);
        manualCtrlFun(4, 16, 2);
        passMs(1500);
        manualCtrlFun(3, 4, 60); // replaces the waiting one; out of focus for more than 26 frames
        const size_t saved = host().savedPositions.size();
        command(CMD_ZSTOP);
        waitUntil([&] { return host().savedPositions.size() == saved + 2; }, 30, "it has focused");
        passMs(2000);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_NONE)); // the trigger is off
        command(CMD_FOCUS);
        passMs(1000);
        waitIdle();
        std::string order; // without repetitions
        for (const Event &motor : events("chip", "run", startUs)) {
            const char who = motor.thread == "manualCtrlThread" ? 'm' : 'l';
            if (order.empty() || order.back() != who)
                order += who;
        }
        EXPECT_EQ(order, "lml");
        expectSound();
    });
}
