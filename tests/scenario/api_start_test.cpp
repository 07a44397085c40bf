// Starting from the host's side: threads and the marker file, and the report of the IR-cut filter,
// which blocks its caller.
#include "scenario.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <unistd.h>

#include "boundary/faults.h"
#include "boundary/redirect.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "platform/shared_word.h"

using namespace scenario;

static std::vector<std::string> startedThreads() {
    std::vector<std::string> names;
    for (const Event &event : events("clock", "start"))
        names.push_back(event.get("thread"));
    return names;
}

static std::string markerPath() {
    return vcam::scratchFolder() + "/tmp/afstartok";
}

// ---- Threads ----

TEST(ApiStart, second_start_is_refused_and_starts_nothing) {
    run([] {
        startParked();
        EXPECT_EQ(AF_Manager_Start_API(), -1);
        passMs(2000);
        EXPECT_EQ(startedThreads(), (std::vector<std::string>{"SonyViscaProtocol", "afStartThread",
                                                              "thLensCtrl", "afvManageThread"}));
        EXPECT_EQ(countSaid("AF_Manager_Start Success !"), 1);
    });
}

TEST(ApiStart, each_thread_that_cannot_be_created_is_reported) {
    const struct {
        int created; // threads that still start
        int result;
        const char *said;
        std::vector<std::string> threads;
    } rows[] = {
        {0, -1, "AF_Manager_Start create SonyViscaProtocol failure !", {}},
        {1, -1, "AF_Manager_Start create afStartThread failure !", {"SonyViscaProtocol"}},
        {2,
         0,
         "__afStartThread____Create Control Thread Failure____",
         {"SonyViscaProtocol", "afStartThread", "afvManageThread"}},
        {3,
         0,
         "__afStartThread____Create Control Thread Failure____",
         {"SonyViscaProtocol", "afStartThread", "thLensCtrl"}},
    };
    for (const auto &row : rows) {
        SCOPED_TRACE(row.said);
        run([&] {
            vcam::failCalls("pthread_create", "", 1, EAGAIN, row.created);
            EXPECT_EQ(AF_Manager_Start_API(), row.result);
            passMs(20000);
            EXPECT_EQ(countSaid(row.said), 1);
            EXPECT_EQ(countSaid("AF_Manager_Start Success !"), row.result == 0 ? 1 : 0);
            EXPECT_EQ(startedThreads(), row.threads);
            EXPECT_EQ(std::filesystem::exists(markerPath()), row.result == 0);
            EXPECT_EQ(AF_Manager_Start_API(), -1);
        });
    }
}

// ---- The marker ----

TEST(ApiStart, marker_appears_a_second_after_the_threads_have_started) {
    run([] {
        startParked();
        const int64_t threadsUs = events("clock", "start").back().timeUs;
        vcam::sleepUntilUs(threadsUs + 999999);
        EXPECT_FALSE(std::filesystem::exists(markerPath()));
        vcam::sleepUntilUs(threadsUs + 1000001);
        EXPECT_EQ(std::filesystem::file_size(markerPath()), 0u);
        EXPECT_EQ(count(consoleLines(), "_Fun:afStartOk Line:121 ____YES____"), 1);
    });
}

TEST(ApiStart, marker_that_exists_is_left_alone_and_a_link_is_not_followed) {
    run([] {
        std::ofstream(markerPath()) << "kept";
        startParked();
        passMs(1500);
        std::string content;
        std::ifstream(markerPath()) >> content;
        EXPECT_EQ(content, "kept");
        EXPECT_EQ(countSaid("____YES____"), 1);
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

// ---- The IR-cut filter ----

static int64_t report(int value, int expected) {
    const int64_t fromUs = vcam::nowUs();
    EXPECT_EQ(AF_Manager_Set_ICUTStatusLast_API(value), expected) << value;
    return vcam::nowUs() - fromUs;
}

TEST(IrCut, change_blocks_its_reporter_for_2_s_and_then_refocuses) {
    run([] {
        startParked();
        EXPECT_EQ(report(2, 0), 0); // day already
        EXPECT_EQ(report(0, -1), 0);
        EXPECT_EQ(report(3, -1), 0);
        EXPECT_EQ(countSaid("Invaled icut mode last !"), 2);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_MFMODE));
        EXPECT_EQ(report(1, 0), 2000000);
        EXPECT_EQ(AF_Manager_Get_ICUTStatusLast_API(), 1);
        EXPECT_EQ(Lens_Get_Command(), unsigned(CMD_FOCUS));
        EXPECT_EQ(countSaid("______Start______"), 0); // not before the next poll
        EXPECT_EQ(report(1, 0), 0);
        waitIdle();
        EXPECT_EQ(countSaid("______Start______"), 1);
        EXPECT_EQ(report(2, 0), 2000000);
        waitIdle();
        EXPECT_EQ(countSaid("______Start______"), 2);
        EXPECT_EQ(AF_Manager_Get_ICUTStatusLast_API(), 2);
        expectSound();
    });
}

TEST(IrCut, report_before_there_is_a_mailbox_keeps_the_state_and_loses_the_request) {
    run([] {
        EXPECT_EQ(AF_Manager_Get_ICUTStatusLast_API(), 2);
        EXPECT_EQ(report(1, 0), 2000000);
        EXPECT_EQ(AF_Manager_Get_ICUTStatusLast_API(), 1);
        EXPECT_EQ(AF_Manager_LockFocus_API(), -1);
        AF_Manager_Reset_API();
        startAndSettle();
        EXPECT_EQ(countSaid("______Start______"), 1); // start-up's own
        EXPECT_EQ(countSaid("cmd: 5"), 0);
    });
}

TEST(IrCut, report_during_a_zoom_lets_it_run_to_its_limit) {
    run([] {
        startParked();
        const int64_t pollUs = nextPollUs();
        command(CMD_TELE);
        EXPECT_EQ(report(1, 0), 2000000); // the zoom takes longer
        EXPECT_TRUE(vcam::isMotorRunning(vcam::Axis::Zoom));
        waitIdle();
        EXPECT_EQ(host().savedPositions[2], std::make_pair(20488u, 12914u));
        EXPECT_EQ(countSaid("______Start______", pollUs), 1);
        expectSound();
    });
}
