// The manual stepping thread, which a host starts and asks for one action at a time.
#include "scenario.h"

#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "platform/shared_word.h"

using namespace scenario;

static const int64_t kFrameUs = 40000;

static void startThread() {
    passMs(1500); // frames are there
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, manualCtrlThread, nullptr), 0);
    passMs(1); // it waits for a request now
}

static void startParkedWithThread() {
    startParked();
    startThread();
}

static bool isRequestPending() {
    pthread_mutex_lock(&man_lock);
    const bool isPending = g_ManualTest != 0;
    pthread_mutex_unlock(&man_lock);
    return isPending;
}

/// Ask and wait until the action is over: each one ends by storing the position.
static void request(unsigned flag, unsigned step, unsigned vdfz, size_t stores = 1) {
    const size_t saved = host().savedPositions.size();
    manualCtrlFun(flag, step, vdfz);
    waitUntil([&] { return host().savedPositions.size() == saved + stores; }, 300, "it is done");
    EXPECT_EQ(loadWord(&FM_Step_Local), host().savedPositions.back().second);
}

TEST(ManualThread, focus_moves_one_group_more_than_asked_a_frame_each_within_its_limits) {
    const struct {
        unsigned focus, flag, step, vdfz;
        std::vector<int> groups;
    } rows[] = {
        {12234, 3, 16, 2, {-16, -16, -16}}, {12234, 4, 16, 0, {16}},
        {12234, 4, 16, 0xFFFFFFFF, {16}},   {12234, 3, 256 + 8, 1, {-8, -8}},
        {14848, 4, 8, 10, {8, 8, 4}},       {14868, 4, 8, 10, {}},
        {10010, 3, 8, 10, {-8, -2}},        {10000, 3, 8, 10, {}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message()
                     << row.flag << ", " << row.step << ", " << row.vdfz << " from " << row.focus);
        run([&] {
            startParked();
            placeLens(10216, row.focus);
            startThread();
            const int64_t startUs = vcam::nowUs();
            request(row.flag, row.step, row.vdfz);
            EXPECT_EQ(motorRuns("CD", startUs), row.groups);
            int64_t frameUs = startUs / kFrameUs * kFrameUs;
            for (const Event &group : events("chip", "run", startUs))
                EXPECT_EQ(group.timeUs, frameUs += kFrameUs);
            expectSound();
        });
    }
}

TEST(ManualThread, zoom_moves_exactly_as_often_as_asked_at_the_vd_rate) {
    const struct {
        unsigned flag, vdfz;
        const char *script;
    } rows[] = {
        {2, 3, "24=0420 25=0371 VD 25000\nVD 25000\nVD 25000\n24=0600 29=0600 VD 25000\n"},
        {1, 1, "24=0520 25=0371 VD 25000\n24=0600 29=0600 VD 25000\n"},
        {1, 0, "24=0520 25=0371 24=0600 29=0600 VD 25000\n"},
        {2, 0xFFFFFFFF, "24=0420 25=0371 24=0600 29=0600 VD 25000\n"},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.flag << ", " << row.vdfz);
        run([&] {
            startParked();
            placeLens(10984, 12106);
            startThread();
            const int64_t startUs = vcam::nowUs();
            request(row.flag, 32, row.vdfz);
            EXPECT_EQ(motorText(startUs), row.script);
            expectSound();
        });
    }
}

TEST(ManualThread, request_without_an_action_prints_and_stores_the_position_all_the_same) {
    run([] {
        startParkedWithThread();
        const unsigned rows[][3] = {{0, 9, 9}, {5, 9, 9}, {11, 9, 9}, {8, 1, 3}, {9, 251, 9}};
        for (const auto &row : rows) {
            SCOPED_TRACE(row[0]);
            const int64_t startUs = vcam::nowUs();
            request(row[0], row[1], row[2]);
            const std::vector<std::string> expected = {
                "__Lens_Print_Location@ Range = [10216, "
                "20488] zLocation = 10216 fLocation = 12234"};
            EXPECT_EQ(consoleLines(startUs), expected);
            EXPECT_TRUE(motorLog(startUs).empty());
        }
    });
}

TEST(ManualThread, service_actions_end_where_they_should) {
    const struct {
        unsigned flag;
        size_t stores; // beside the one at the end
        unsigned zoom, focus;
    } rows[] = {{6, 1, 10216, 12234}, {10, 0, 16744, 11360}};
    for (const auto &row : rows) {
        SCOPED_TRACE(row.flag);
        run([&] {
            startParked();
            placeLens(15592, 11500);
            startThread();
            request(row.flag, 0, 0, row.stores + 1);
            EXPECT_EQ(host().savedPositions.back(), std::make_pair(row.zoom, row.focus));
            EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE));
            expectSound();
        });
    }
}

TEST(ManualThread, followed_line_is_toggled_and_advised_on) {
    run([] {
        startParkedWithThread();
        int64_t startUs = vcam::nowUs();
        request(9, 250, 0);
        EXPECT_EQ(g_FLineFlag, 1);
        request(9, 250, 0);
        EXPECT_EQ(g_FLineFlag, 0);
        EXPECT_EQ(countSaid("_Fun:manualCtrlThread Line:251 Skip to 2M Line.", startUs), 1);
        EXPECT_EQ(countSaid("_Fun:manualCtrlThread Line:251 Skip to INF Line.", startUs), 1);

        const struct {
            unsigned focus;
            std::vector<const char *> advice;
        } rows[] = {
            {12212, {"271 Maybe should use curve of INF."}},
            {12234, {"275 Maybe should use curve of 2M."}},
            {12222, {"281 Update [10,12]", "288 Maybe should use curve of INF."}},
            {12223, {"281 Update [11,11]", "285 Maybe should use curve of 2M."}},
        };
        for (const auto &row : rows) {
            const std::string prefix = "_Fun:manualCtrlThread Line:";
            std::vector<std::string> expected = {
                prefix + "267 [12212,12234], FM: " + std::to_string(row.focus)};
            for (const char *line : row.advice)
                expected.push_back(prefix + line);
            startUs = vcam::nowUs();
            storeWord(&FM_Step_Local, row.focus);
            request(9, 252, 0);
            std::vector<std::string> lines = consoleLines(startUs);
            lines.resize(expected.size());
            EXPECT_EQ(lines, expected);
        }
    });
}

TEST(ManualThread, request_waits_for_the_lens_command_in_hand_and_a_newer_one_replaces_it) {
    run([] {
        startAndSettle();
        startThread();
        const int64_t startUs = vcam::nowUs();
        command(CMD_TELE);
        passMs(300);
        manualCtrlFun(3, 16, 2);
        passMs(1500);
        EXPECT_TRUE(isRequestPending());
        manualCtrlFun(4, 8, 0);
        command(CMD_ZSTOP);
        passMs(100);
        waitUntil([] { return !isRequestPending(); }, 30, "the request is taken");
        passMs(500);
        const std::vector<Event> runs = events("chip", "run", startUs);
        EXPECT_EQ(runs.back().thread, "manualCtrlThread");
        EXPECT_EQ(runs.back().get("steps"), "8");
        EXPECT_EQ(runs[runs.size() - 2].thread, "thLensCtrl"); // the autofocus run came before
        expectSound();
    });
}

TEST(ManualThread, lens_command_and_refocus_trigger_wait_for_the_action_in_hand) {
    run([] {
        startAndSettle();
        startThread();
        const int64_t startUs = vcam::nowUs();
        manualCtrlFun(3, 4, 60); // out of focus for more than 26 frames
        passMs(2000);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_NONE));
        EXPECT_EQ(loadWord(&g_AutoCheckFlag), 0);
        command(CMD_TELE);
        passMs(1000);
        command(CMD_ZSTOP);
        passMs(100);
        waitIdle();
        int manual = 0;
        for (const Event &motor : events("chip", "run", startUs)) {
            manual += motor.thread == "manualCtrlThread" ? 1 : 0;
            EXPECT_EQ(motor.thread == "manualCtrlThread", motor.timeUs < startUs + 61 * kFrameUs);
        }
        EXPECT_EQ(manual, 61);
        expectSound();
    });
}

TEST(ManualThread, request_posted_during_an_action_is_taken_when_the_next_wait_ends) {
    run([] {
        startParkedWithThread();
        manualCtrlFun(3, 2, 10);
        passMs(200);
        manualCtrlFun(4, 2, 0);
        passMs(3000);
        const std::vector<Event> writes = events("chip", "write");
        const std::vector<Event> pulses = events("gpio", "vd");
        ASSERT_GT(writes.size(), 4u); // the second request: 29=0502, 2a=1608, group, 29=0600, pulse
        const Event &second = writes[writes.size() - 3];
        EXPECT_EQ(second.get("value"), "0x0502");
        EXPECT_EQ(second.timeUs, pulses[pulses.size() - 3].timeUs + 10000 + 1000000);
    });
}
