// Starting from the host's side: threads and the marker file, and the report of the IR-cut filter,
// which blocks its caller.
#include "scenario.h"

#include <cerrno>
#include <filesystem>

#include "boundary/faults.h"
#include "boundary/redirect.h"
#include "clock/virtual_clock.h"

using namespace scenario;

static std::string markerPath() {
    return vcam::scratchFolder() + "/tmp/afstartok";
}

TEST(ApiStart, library_that_nobody_has_started_has_its_settings_and_refuses_commands) {
    run([] {
        char shown[AF_OSD_TEXT_SIZE] = "?";
        EXPECT_EQ(AF_Manager_Get_ICUTControlType_API(), TYPE_OUTCONTROL);
        EXPECT_EQ(g_AutoCheckEnable, 1);
        EXPECT_EQ(AF_Manager_LockFocus_API(), -1);
        EXPECT_EQ(fCallbackSetIcutMode(TYPE_NIGHT), -1);
        EXPECT_EQ(AF_Manager_Set_Multiple_API(36), 0); // the grid is still empty
        EXPECT_EQ(AF_Manager_Get_OSDData_API(shown), 0);
        EXPECT_STREQ(shown, "");
    });
}

TEST(ApiStart, only_the_first_start_counts_and_a_thread_that_cannot_be_created_is_reported) {
    const struct {
        int created; // threads that still start
        int result;
        const char *said;
    } rows[] = {{0, -1, "AF_Manager_Start create SonyViscaProtocol failure !"},
                {1, -1, "AF_Manager_Start create afStartThread failure !"},
                {2, 0, "__afStartThread____Create Control Thread Failure____"},
                {3, 0, "__afStartThread____Create Control Thread Failure____"},
                {4, 0, "AF_Manager_Start Success !"}};
    for (const auto &row : rows) {
        SCOPED_TRACE(testing::Message() << row.created << " threads");
        run([&] {
            vcam::failCalls("pthread_create", "", 1, EAGAIN, row.created);
            EXPECT_EQ(AF_Manager_Start_API(), row.result);
            EXPECT_EQ(AF_Manager_Start_API(), -1);
            passMs(20000);
            EXPECT_EQ(countSaid(row.said), 1);
            EXPECT_EQ(countSaid("AF_Manager_Start Success !"), row.result == 0 ? 1 : 0);
            const size_t started = row.created == 2 ? 3 : size_t(row.created); // statistics too
            EXPECT_EQ(events("clock", "start").size(), started);
            EXPECT_EQ(std::filesystem::exists(markerPath()), row.result == 0);
        });
    }
}

TEST(ApiStart, marker_appears_a_second_after_the_threads_and_never_through_a_link) {
    run([] {
        startParked();
        const int64_t threadsUs = events("clock", "start").back().timeUs;
        vcam::sleepUntilUs(threadsUs + 999999);
        EXPECT_FALSE(std::filesystem::exists(markerPath()));
        vcam::sleepUntilUs(threadsUs + 1000001);
        EXPECT_EQ(std::filesystem::file_size(markerPath()), 0u);
        EXPECT_EQ(count(consoleLines(), "_Fun:afStartOk Line:121 ____YES____"), 1);
    });
    run([] {
        const std::string target = vcam::scratchFolder() + "/elsewhere";
        std::filesystem::create_symlink(target, markerPath());
        startParked();
        passMs(1500);
        EXPECT_FALSE(std::filesystem::exists(target));
        EXPECT_EQ(countSaid("____YES____"), 1);
    });
}

static int64_t report(int value, int expected) {
    const int64_t fromUs = vcam::nowUs();
    EXPECT_EQ(AF_Manager_Set_ICUTStatusLast_API(value), expected) << value;
    return vcam::nowUs() - fromUs;
}

TEST(IrCut, change_blocks_its_reporter_for_2_s_and_then_refocuses_where_there_is_a_mailbox) {
    run([] {
        EXPECT_EQ(report(1, 0), 2000000);
        EXPECT_EQ(AF_Manager_Get_ICUTStatusLast_API(), 1);
        startParked();
        EXPECT_EQ(report(1, 0), 0); // night already
        EXPECT_EQ(report(3, -1), 0);
        EXPECT_EQ(countSaid("Invaled icut mode last !"), 1);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE));
        EXPECT_EQ(report(2, 0), 2000000);
        EXPECT_EQ(AF_Manager_Get_ICUTStatusLast_API(), 2);
        EXPECT_EQ(countSaid("______Start______"), 0); // not before the next poll
        waitIdle();
        EXPECT_EQ(countSaid("______Start______"), 1);
        expectSound();
    });
}
