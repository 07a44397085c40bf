// Starting from the host's side: threads and the marker file, and the report of the IR-cut filter,
// which blocks its caller.
#include "scenario.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <set>
#include <unistd.h>

#include "boundary/faults.h"
#include "boundary/redirect.h"
#include "clock/virtual_clock.h"

using namespace scenario;

static std::string markerPath() {
    return vcam::scratchFolder() + "/tmp/afstartok";
}

TEST(ApiStart, library_that_nobody_has_started_refuses_commands_and_shows_nothing) {
    run([] {
        char shown[AF_OSD_TEXT_SIZE] = "?";
        EXPECT_EQ(AF_Manager_LockFocus_API(), -1);
        EXPECT_EQ(fCallbackSetIcutMode(TYPE_NIGHT), -1);
        EXPECT_EQ(AF_Manager_Set_Multiple_API(36), 0); // the grid is still empty
        EXPECT_EQ(AF_Manager_Get_OSDData_API(shown), 0);
        EXPECT_STREQ(shown, "");
    });
}

static std::set<std::string> threadsStarted() {
    std::set<std::string> names;
    for (const Event &event : events("clock", "start"))
        names.insert(event.get("thread"));
    return names;
}

TEST(ApiStart, start_after_a_failed_one_creates_what_is_missing_and_no_thread_twice) {
    const std::set<std::string> all = {"SonyViscaProtocol", "afStartThread", "thLensCtrl",
                                       "afvManageThread"};
    for (int created = 0; created <= 4; ++created) { // threads that still start
        SCOPED_TRACE(testing::Message() << created << " threads");
        run([&] {
            const int result = created < 2 ? -1 : 0;
            vcam::failCalls("pthread_create", "", 1, EAGAIN, created);
            EXPECT_EQ(AF_Manager_Start_API(), result);
            passMs(20000);
            const size_t started = created == 2 ? 3 : size_t(created); // statistics too
            EXPECT_EQ(threadsStarted().size(), started);
            EXPECT_EQ(std::filesystem::exists(markerPath()), result == 0);
            vcam::failCalls("pthread_create", "", 1, EAGAIN);
            EXPECT_EQ(AF_Manager_Start_API(), -1);
            vcam::clearFaults();
            EXPECT_EQ(AF_Manager_Start_API(), created < 4 ? 0 : -1);
            passMs(20000);
            EXPECT_EQ(threadsStarted(), all);
            EXPECT_EQ(events("clock", "start").size(), all.size());
            const size_t lines = consoleLines().size();
            EXPECT_EQ(AF_Manager_Start_API(), -1);
            EXPECT_EQ(consoleLines().size(), lines);
        });
    }
}

// A signal that the host handles would end the serial thread's select, and with it serial control.
TEST(ApiStart, librarys_threads_leave_the_hosts_signals_to_the_host_and_keep_their_own_faults) {
    vcam::CameraOptions options;
    options.kernelThreads = true; // what is asked for is the kernel's
    run(options, [] {
        startAndSettle();
        int libraryThreads = 0;
        for (const auto &task : std::filesystem::directory_iterator("/proc/self/task")) {
            uint64_t blocked = 0;
            std::ifstream status(task.path() / "status");
            for (std::string word; status >> word;)
                if (word == "SigBlk:")
                    status >> std::hex >> blocked;
            const auto isBlocked = [&](int signal) { return (blocked >> (signal - 1) & 1) != 0; };
            const bool isHost = task.path().filename() == std::to_string(getpid());
            EXPECT_EQ(isBlocked(SIGUSR1) && isBlocked(SIGTERM) && isBlocked(SIGALRM), !isHost);
            libraryThreads += !isHost && !isBlocked(SIGSEGV) && !isBlocked(SIGBUS) ? 1 : 0;
        }
        EXPECT_GE(libraryThreads, 3);
    });
}

TEST(ApiStart, marker_is_made_once_and_never_through_a_link) {
    for (bool isLink : {false, true})
        run([&] {
            const std::string target = vcam::scratchFolder() + "/elsewhere";
            if (isLink)
                std::filesystem::create_symlink(target, markerPath());
            startParked();
            passMs(1500);
            EXPECT_EQ(std::filesystem::exists(isLink ? target : markerPath()), !isLink);
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
