#include "scenario.h"

#include "temporary_folder.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "camera.h"
#include "clock/virtual_clock.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "isp/isp.h"
#include "platform/shared_word.h"

namespace scenario {

// ---- The process ----

static constexpr rlim_t kLargestFile = 1U << 28;

namespace {
/// What gtest's own printer would lose: its printf is the camera's console in this process.
class FailurePrinter : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult &result) override {
        if (!result.failed())
            return;
        fprintf(stdout, "%s:%d: Failure\n%s\n",
                result.file_name() == nullptr ? "" : result.file_name(), result.line_number(),
                result.message());
        fflush(stdout);
    }
};
} // namespace

static void printFailuresHere() {
    testing::TestEventListeners &listeners = testing::UnitTest::GetInstance()->listeners();
    delete listeners.Release(listeners.default_result_printer());
    listeners.Append(new FailurePrinter);
}

/// An exception ends the process here: beyond, it would go on with the next case.
static int runCase(const vcam::CameraOptions &options, const std::function<void()> &body) noexcept {
    printFailuresHere();
    vcam::powerOn(options);
    body();
    vcam::powerOff();
    return testing::Test::HasFailure() ? 1 : 0;
}

static vcam::CameraOptions placeFiles(const vcam::CameraOptions &given,
                                      const TemporaryFolder &folder) {
    vcam::CameraOptions options = given;
    options.scratch = folder.file("camera");
    options.consoleFile = folder.file("console.txt");
    if (options.traceFile.empty())
        options.traceFile = folder.file("trace.txt");
    return options;
}

Ending runToEnd(const vcam::CameraOptions &given, const std::function<void()> &body) {
    const TemporaryFolder folder;
    const std::string errorFile = folder.file("stderr.txt");
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        // A case that ctest gives up, or that runs for ever, must not fill the disk.
        const struct rlimit largestFile = {kLargestFile, kLargestFile};
        setrlimit(RLIMIT_FSIZE, &largestFile);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const bool isHeard = freopen(errorFile.c_str(), "w", stderr) != nullptr;
        const int status = isHeard ? runCase(placeFiles(given, folder), body) : 1;
        fflush(nullptr);
        _exit(status);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readAll(errorFile),
            readAll(folder.file("console.txt"))};
}

void run(const vcam::CameraOptions &options, const std::function<void()> &body) {
    const Ending ending = runToEnd(options, body);
    const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
    EXPECT_EQ(ending.status, 0) << ending.said << "seed " << options.seed
                                << ", replay: scenario_tests --gtest_filter="
                                << test->test_suite_name() << "." << test->name();
}

void run(const std::function<void()> &body) {
    run(vcam::CameraOptions{}, body);
}

Place truePlace() {
    return {vcam::truePosition(vcam::Axis::Zoom), vcam::truePosition(vcam::Axis::Focus)};
}

vcam::CameraOptions startAt(int zoom, int focus, int lens) {
    vcam::CameraOptions options;
    options.lensType = lens;
    options.zoomStart = zoom;
    options.focusStart = focus;
    return options;
}

// ---- The library ----

void startLibrary() {
    introduceHost();
    ASSERT_EQ(AF_Manager_Start_API(), 0);
}

void startAndSettle() {
    startLibrary();
    waitUntil([] { return !host().savedPositions.empty(); }, 60, "the lens is parked");
    waitIdle();
}

void startParked() {
    startLibrary();
    waitUntil([] { return loadWord(&g_ShaPosInfo) != nullptr; }, 60, "the mailbox exists");
    command(CMD_MFMODE);
    waitUntil([] { return host().savedPositions.size() == 2; }, 60, "the lens is parked");
    passMs(1);
    EXPECT_EQ(loadWord(&g_AutoCheckFlag), 0); // takes over what the other threads have stored
}

int64_t nextPollUs() {
    const int64_t pollUs = 50000;
    int64_t startUs = 0;
    for (const Event &event : events("clock", "start"))
        if (event.get("thread") == "thLensCtrl")
            startUs = event.timeUs;
    return startUs + ((vcam::nowUs() - startUs) / pollUs + 1) * pollUs;
}

void placeLens(unsigned zoom, unsigned focus) {
    EXPECT_EQ(Lens_Check_PIPosition(), 0);
    Lens_To_Destination(zoom, focus);
    EXPECT_EQ(truePlace(), Place(zoom, focus));
}

pthread_t startManualThread() {
    pthread_t thread;
    passMs(1500);
    EXPECT_EQ(pthread_create(&thread, nullptr, manualCtrlThread, nullptr), 0);
    passMs(1);
    return thread;
}

// ---- Time and commands ----

void passMs(int64_t ms) {
    vcam::sleepUs(ms * 1000);
}

void waitUntil(const std::function<bool()> &isDone, double limitS, const char *what) {
    EXPECT_TRUE(vcam::awaitUntil(isDone, static_cast<int64_t>(limitS * 1e6), 1000))
        << "waiting until " << what;
}

void waitIdle(double limitS) {
    waitUntil(vcam::isIdle, limitS, "the lens-control thread idles");
}

void waitSettled(double limitS, const std::function<void()> &watch, int64_t lookMs) {
    EXPECT_TRUE(vcam::awaitSettled(static_cast<int64_t>(limitS * 1e6), lookMs * 1000, watch))
        << "waiting until the lens settles";
}

void publishUntil(const std::function<bool()> &isDone,
                  const std::function<AF_Statistics_Info(int focus)> &makeRecord) {
    const int64_t frameMs = 40;
    const int mostFrames = 2000;
    const int64_t hourUs = 3600000000;
    vcam::stallFramesUntilUs(vcam::nowUs() + hourUs);
    passMs(frameMs + 1); // the statistics thread's wait in progress still ends
    for (int frame = 0; !isDone(); ++frame) {
        ASSERT_LT(frame, mostFrames);
        pthread_mutex_lock(&afv_lock);
        g_AFStatistics = makeRecord(vcam::truePosition(vcam::Axis::Focus));
        pthread_cond_signal(&afv_ready);
        pthread_mutex_unlock(&afv_lock);
        passMs(frameMs);
    }
}

void send(const std::vector<uint8_t> &bytes) {
    vcam::controllerSends(bytes);
}

void expectSound() {
    for (const std::string &complaint : vcam::findUnsound())
        ADD_FAILURE() << complaint;
}

int count(const std::vector<std::string> &lines, const std::string &line) {
    return static_cast<int>(std::count(lines.begin(), lines.end(), line));
}

} // namespace scenario
