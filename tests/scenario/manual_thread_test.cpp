// The manual stepping thread, which a host starts and asks for one action at a time.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "platform/shared_word.h"

using namespace scenario;

static const int64_t kFrameUs = 40000;

static void startThread() {
    passMs(1500); // frames are there
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, manualCtrlThread, nullptr), 0);
    passMs(1); // it waits for a request now
}

/// Ask and wait until the action is over: each one ends by storing the position. When that began.
static int64_t request(unsigned flag, unsigned step, unsigned vdfz, size_t stores = 1) {
    const int64_t startUs = vcam::nowUs();
    const size_t saved = host().savedPositions.size();
    manualCtrlFun(flag, step, vdfz);
    waitUntil([&] { return host().savedPositions.size() == saved + stores; }, 300, "it is done");
    EXPECT_EQ(loadWord(&FM_Step_Local), host().savedPositions.back().second);
    return startUs;
}

TEST(ManualThread, focus_moves_one_group_more_than_asked_a_frame_each_within_its_limits) {
    const struct {
        unsigned focus, flag, step, vdfz;
        std::vector<int> groups;
    } rows[] = {
        {12234, 4, 16, 0xFFFFFFFF, {16}},
        {12234, 3, 256 + 8, 1, {-8, -8}},
        {14848, 4, 8, 10, {8, 8, 4}},
        {10010, 3, 8, 10, {-8, -2}},
        {10000, 3, 8, 10, {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.step << ", " << row.vdfz << " from " << row.focus);
        run([&] {
            startParked();
            placeLens(10216, row.focus);
            startThread();
            const int64_t startUs = request(row.flag, row.step, row.vdfz);
            EXPECT_EQ(motorRuns("CD", startUs), row.groups);
            int64_t frameUs = startUs / kFrameUs * kFrameUs;
            for (const Event &group : events("chip", "run", startUs))
                EXPECT_EQ(group.timeUs, frameUs += kFrameUs);
            expectSound();
        });
    }
}

TEST(ManualThread, zoom_moves_exactly_as_often_as_asked_at_the_vd_rate) {
    run([] {
        startParked();
        placeLens(10984, 12106);
        startThread();
        EXPECT_EQ(motorText(request(2, 32, 3)), "24=0420 25=0371 VD 25000\nVD 25000\nVD 25000\n"
                                                "24=0600 29=0600 VD 25000\n");
        EXPECT_EQ(motorText(request(1, 32, 0xFFFFFFFF)),
                  "24=0520 25=0371 24=0600 29=0600 VD 25000\n");
        expectSound();
    });
}

TEST(ManualThread, service_actions_end_where_they_should_and_print_and_store_that) {
    const unsigned kNoAction = 11;
    const struct {
        unsigned flag;
        size_t stores;
        unsigned zoom, focus;
    } rows[] = {{10, 1, 16744, 11360}, {6, 2, 10216, 12234}, {kNoAction, 1, 10216, 12234}};
    run([&] {
        startParked();
        startThread();
        for (const auto &row : rows) {
            SCOPED_TRACE(row.flag);
            const int64_t startUs = request(row.flag, 9, 9, row.stores);
            EXPECT_EQ(host().savedPositions.back(), std::make_pair(row.zoom, row.focus));
            EXPECT_EQ(motorLog(startUs).empty(), row.flag == kNoAction);
            EXPECT_EQ(consoleLines(startUs).back(),
                      "__Lens_Print_Location@ Range = [10216, 20488] zLocation = " +
                          std::to_string(row.zoom) + " fLocation = " + std::to_string(row.focus));
            expectSound();
        }
    });
}

TEST(ManualThread, followed_line_is_toggled_and_advised_on) {
    const struct {
        unsigned focus, step;
        const char *said;
    } rows[] = {
        {12234, 250, "251 Skip to 2M Line.\n"},
        {12234, 250, "251 Skip to INF Line.\n"},
        {12212, 252, "267 [12212,12234], FM: 12212\n271 Maybe should use curve of INF.\n"},
        {12234, 252, "267 [12212,12234], FM: 12234\n275 Maybe should use curve of 2M.\n"},
        {12222, 252, "281 Update [10,12]\n288 Maybe should use curve of INF.\n"},
        {12223, 252, "281 Update [11,11]\n285 Maybe should use curve of 2M.\n"},
    };
    run([&] {
        startParked();
        startThread();
        for (const auto &row : rows) {
            storeWord(&FM_Step_Local, row.focus);
            std::string said;
            for (const std::string &line : consoleLines(request(9, row.step, 0)))
                said += line.substr(line.find(':', 5) + 1) + "\n"; // after "_Fun:... Line:"
            EXPECT_NE(said.find(row.said), std::string::npos) << said;
        }
    });
}

TEST(ManualThread, action_waits_for_the_lens_command_in_hand_and_the_next_one_for_the_action) {
    run([] {
        startAndSettle();
        startThread();
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
        std::string order;
        for (const Event &motor : events("chip", "run", startUs))
            order += motor.thread == "manualCtrlThread" ? 'm' : 'l';
        const size_t first = order.find('m');
        EXPECT_EQ(order.substr(first, 62), std::string(61, 'm') + 'l');
        EXPECT_GT(first, 0u);
        EXPECT_EQ(order.find('m', first + 61), std::string::npos);
        expectSound();
    });
}

TEST(ManualThread, request_posted_during_an_action_is_taken_when_the_next_wait_ends) {
    run([] {
        startParked();
        startThread();
        manualCtrlFun(3, 2, 10);
        passMs(200);
        manualCtrlFun(4, 2, 0);
        passMs(3000);
        const std::vector<Event> writes = events("chip", "write");
        const Event &second = writes[writes.size() - 3]; // 29=0502, 2a=1608, group, 29=0600, pulse
        EXPECT_EQ(second.get("value"), "0x0502");
        const std::vector<Event> pulses = events("gpio", "vd");
        EXPECT_EQ(second.timeUs, pulses[pulses.size() - 3].timeUs + 10000 + 1000000);
    });
}
