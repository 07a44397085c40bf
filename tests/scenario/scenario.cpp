#include "scenario.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

#include "camera.h"
#include "clock/trace.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"
#include "devices/isp.h"
#include "devices/lens.h"
#include "devices/serial_port.h"
#include "platform/shared_word.h"

namespace scenario {

static std::string traceFile;

// ---- The process ----

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

/// Where one process keeps its camera's files; gone when the case is over.
class CaseFolder {
public:
    CaseFolder() : isMade_(mkdtemp(path_) != nullptr) {}
    ~CaseFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    CaseFolder(const CaseFolder &) = delete;
    CaseFolder &operator=(const CaseFolder &) = delete;
    bool isMade() const { return isMade_; }
    std::string file(const char *name) const { return std::string(path_) + "/" + name; }

private:
    char path_[32] = "/tmp/scenario-XXXXXX";
    bool isMade_;
};

static vcam::CameraOptions placeFiles(const vcam::CameraOptions &given, const CaseFolder &folder) {
    vcam::CameraOptions options = given;
    options.scratch = folder.file("camera");
    options.consoleFile = folder.file("console.txt");
    if (options.traceFile.empty())
        options.traceFile = folder.file("trace.txt");
    traceFile = options.traceFile;
    return options;
}

/// The wait status of a process that plays the case; its standard error goes to a file if named.
static int play(const vcam::CameraOptions &options, const std::string &errorFile,
                const std::function<void()> &body) {
    fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        if (!errorFile.empty() && freopen(errorFile.c_str(), "w", stderr) == nullptr)
            _exit(1);
        const int status = runCase(options, body);
        fflush(nullptr);
        _exit(status);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

static std::string readAll(const std::string &file) {
    std::stringstream text;
    text << std::ifstream(file).rdbuf();
    return text.str();
}

void run(const vcam::CameraOptions &given, const std::function<void()> &body) {
    const CaseFolder folder;
    ASSERT_TRUE(folder.isMade());
    const int status = play(placeFiles(given, folder), "", body);
    const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
        << "seed " << given.seed
        << ", replay: scenario_tests --gtest_filter=" << test->test_suite_name() << "."
        << test->name();
}

Ending runToEnd(const vcam::CameraOptions &given, const std::function<void()> &body) {
    const CaseFolder folder;
    const std::string errorFile = folder.file("stderr.txt");
    const int status = play(placeFiles(given, folder), errorFile, body);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, readAll(errorFile),
            readAll(folder.file("console.txt"))};
}

void run(const std::function<void()> &body) {
    run(vcam::CameraOptions{}, body);
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
    EXPECT_EQ(vcam::truePosition(vcam::Axis::Zoom), static_cast<int>(zoom));
    EXPECT_EQ(vcam::truePosition(vcam::Axis::Focus), static_cast<int>(focus));
}

// ---- Time and commands ----

void passMs(int64_t ms) {
    vcam::sleepUs(ms * 1000);
}

void waitUntil(const std::function<bool()> &isDone, double limitS, const char *what) {
    const int64_t endUs = vcam::nowUs() + static_cast<int64_t>(limitS * 1e6);
    while (!isDone() && vcam::nowUs() < endUs)
        passMs(1);
    EXPECT_TRUE(isDone()) << "waiting until " << what;
}

void waitIdle(double limitS) {
    waitUntil(
        [] {
            return Lens_Get_Command() == CMD_NONE &&
                   __atomic_load_n(&g_AutoCheckFlag, __ATOMIC_ACQUIRE) == 1;
        },
        limitS, "the lens-control thread idles");
}

bool isStanding() {
    const unsigned held = Lens_Get_Command();
    return held == CMD_FSTOP || held == CMD_MFMODE || held == CMD_AFMODE || held >= CMD_NONE;
}

void waitSettled(double limitS, const std::function<void()> &watch, int64_t lookMs) {
    const int64_t quietUs = 2000000;
    const int64_t endUs = vcam::nowUs() + static_cast<int64_t>(limitS * 1e6);
    int64_t busyUs = vcam::nowUs();
    while (vcam::nowUs() < busyUs + quietUs) {
        ASSERT_LT(vcam::nowUs(), endUs) << "waiting until the lens settles";
        passMs(lookMs);
        watch();
        busyUs = isStanding() ? std::max(busyUs, vcam::vdEndUs()) : vcam::nowUs();
    }
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

void command(AF_CMD_em code, unsigned value) {
    Lens_ShaPos_ST *record = loadWord(&g_ShaPosInfo);
    storeWord(&record->shValue, value);
    storeWord(&record->shCommand, static_cast<unsigned>(code));
}

void expectSound() {
    unsigned zoom = 0;
    unsigned focus = 0;
    Lens_Get_Location(&zoom, &focus);
    EXPECT_EQ(static_cast<int>(zoom), vcam::truePosition(vcam::Axis::Zoom));
    EXPECT_EQ(static_cast<int>(focus), vcam::truePosition(vcam::Axis::Focus));
    EXPECT_EQ(vcam::lostSteps(vcam::Axis::Zoom), 0);
    EXPECT_EQ(vcam::lostSteps(vcam::Axis::Focus), 0);
    for (const std::string &violation : vcam::violations())
        ADD_FAILURE() << "violation: " << violation;
}

// ---- The trace ----

std::vector<Event> events() {
    vcam::flushTrace();
    std::vector<Event> all;
    std::ifstream file(traceFile);
    Event event;
    for (std::string line; std::getline(file, line);) {
        if (vcam::parseTraceLine(line, event))
            all.push_back(event);
    }
    return all;
}

std::vector<Event> events(const std::string &device, const std::string &kind, int64_t fromUs) {
    std::vector<Event> picked;
    for (Event &event : events())
        if (event.timeUs >= fromUs && event.device == device &&
            (kind.empty() || event.event == kind))
            picked.push_back(event);
    return picked;
}

std::vector<std::string> consoleLines(int64_t fromUs) {
    std::vector<std::string> lines;
    for (const Event &event : events("console", "line", fromUs))
        lines.push_back(event.get("text"));
    return lines;
}

static std::string describeMotorEvent(const Event &event) {
    if (event.is("chip", "write"))
        return event.get("register").substr(2) + "=" + event.get("value").substr(2);
    if (event.is("gpio", "vd"))
        return "VD " + event.get("period_us");
    return "";
}

std::string motorText(int64_t fromUs) {
    std::string text;
    int64_t accountedUs = fromUs;
    for (const Event &event : events()) {
        const std::string entry = describeMotorEvent(event);
        if (event.timeUs < fromUs || entry.empty())
            continue;
        if (event.timeUs != accountedUs)
            text += "wait " + std::to_string(event.timeUs - accountedUs) + "\n";
        accountedUs = event.timeUs;
        if (event.event == "vd")
            accountedUs += event.getNumber("period_us");
        text += entry + (event.event == "vd" ? "\n" : " ");
    }
    return text;
}

std::vector<int> motorRuns(const std::string &channel, int64_t fromUs) {
    std::vector<int> runs;
    for (const Event &event : events("chip", "run", fromUs))
        if (event.get("channel") == channel)
            runs.push_back(static_cast<int>(event.getNumber("steps")));
    return runs;
}

std::string runText(const std::string &channel, int64_t fromUs) {
    const std::vector<int> runs = motorRuns(channel, fromUs);
    std::string text;
    for (size_t i = 0, times; i < runs.size(); i += times) {
        for (times = 1; i + times < runs.size() && runs[i + times] == runs[i];)
            ++times;
        text += (times > 1 ? std::to_string(times) + "x" : "") + std::to_string(runs[i]) + " ";
    }
    return text;
}

std::vector<int64_t> whenSaid(const std::string &text, int64_t fromUs) {
    std::vector<int64_t> instants;
    for (const Event &event : events("console", "line", fromUs)) {
        const std::string line = event.get("text");
        if (line.size() >= text.size() &&
            line.compare(line.size() - text.size(), text.size(), text) == 0)
            instants.push_back(event.timeUs);
    }
    return instants;
}

int countSaid(const std::string &text, int64_t fromUs) {
    return static_cast<int>(whenSaid(text, fromUs).size());
}

int count(const std::vector<std::string> &lines, const std::string &line) {
    return static_cast<int>(std::count(lines.begin(), lines.end(), line));
}

} // namespace scenario
