// Sessions as people play them, and the same again from their logs.
#include "camera_process.h"
#include "session_log.h"

#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace view;
using namespace std::chrono_literals;

namespace {

struct Folder {
    std::string path;
    Folder() {
        char name[] = "/tmp/view_test.XXXXXX";
        path = mkdtemp(name);
    }
    ~Folder() { std::filesystem::remove_all(path); }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
};

/// What a camera has said.
struct Heard {
    std::mutex mutex;
    std::condition_variable news;
    std::vector<std::string> log;
    int64_t ms = -1;
    bool isPaused = false;
    bool isOver = false;

    void take(const std::string &line) {
        const std::lock_guard<std::mutex> guard(mutex);
        if (line[0] == 'L')
            log.push_back(line.substr(2));
        if (line[0] == 'T') {
            ms = strtoll(line.c_str() + 2, nullptr, 10);
            isPaused = line.find("\"paused\":true") != std::string::npos;
        }
        news.notify_all();
    }
    template <typename IsDone> bool await(IsDone isDone) {
        std::unique_lock<std::mutex> lock(mutex);
        return news.wait_for(lock, 60s, isDone);
    }
};

} // namespace

static void writeFile(const std::string &path, const std::string &text) {
    std::ofstream(path) << text;
}

static std::string readFile(const std::string &path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

static std::unique_ptr<CameraProcess> startCamera(const std::vector<std::string> &words,
                                                  Heard &heard) {
    std::vector<std::string> all = {VIEW_CAMERA};
    all.insert(all.end(), words.begin(), words.end());
    return CameraProcess::start(all, {[&heard](const std::string &line) { heard.take(line); },
                                      [](const std::string &) {},
                                      [&heard] {
                                          const std::lock_guard<std::mutex> guard(heard.mutex);
                                          heard.isOver = true;
                                          heard.news.notify_all();
                                      }});
}

static std::string drawOrder(std::mt19937 &random) {
    static const char *const kOrders[] = {
        "input send 8101040727FF",
        "input send 8101040737FF",
        "input send 8101040700FF",
        "input send 8101041801FF",
        "input set distance 3",
        "input set distance inf",
        "input set night on",
        "input set night off",
        "input lose zoom 60",
        "input set noise 4",
        "input fault isp-stall on",
        "input fault isp-stall off",
        "input order cancel",
        "input place 15000 11000 near tele",
        "input order preset-set 3",
        "input order preset-call 3",
        "pace 100",
        "pace 20",
        "pause",
        "go",
        "step",
        "input no such thing",
    };
    return kOrders[random() % (sizeof kOrders / sizeof kOrders[0])];
}

/// A minute with orders at random real times; its log.
static std::string playLive(unsigned seed, const Folder &folder, const std::string &head) {
    std::mt19937 random(seed);
    Heard heard;
    writeFile(folder.path + "/head", head);
    const auto camera = startCamera(
        {folder.path + "/head", "--pace", "40", "--trace", folder.path + "/live"}, heard);
    const auto isMinuteOver = [&heard] { return heard.ms >= 60000; };
    for (bool isOver = false; !isOver;) {
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 80000));
        camera->order(drawOrder(random));
        if (random() % 3 == 0)
            camera->order("go");
        const std::lock_guard<std::mutex> guard(heard.mutex);
        isOver = isMinuteOver();
    }
    camera->order("pause");
    EXPECT_TRUE(heard.await([&heard] { return heard.isPaused; }));
    EXPECT_EQ(camera->finish(), EXIT_SUCCESS);
    EXPECT_TRUE(heard.await([&heard] { return heard.isOver; }));
    std::string log = head;
    for (const std::string &line : heard.log)
        log += line + "\n";
    return log + std::to_string(heard.ms / 10) + " end\n";
}

TEST(Session, its_log_gives_the_same_trace_to_the_byte) {
    for (const unsigned seed : {1U, 2U, 3U}) {
        const Folder folder;
        const std::string log = playLive(seed, folder,
                                         "session 1\npart\noption seed " + std::to_string(seed) +
                                             "\noption replies 2\noption recovery on\n");
        writeFile(folder.path + "/log", log);
        Heard ignored;
        const auto again = startCamera(
            {folder.path + "/log", "--alone", "--trace", folder.path + "/again"}, ignored);
        EXPECT_EQ(again->finish(), EXIT_SUCCESS);
        EXPECT_TRUE(ignored.await([&ignored] { return ignored.isOver; }));
        const std::string trace = readFile(folder.path + "/live");
        EXPECT_GT(trace.size(), 100000U);
        EXPECT_GT(std::count(log.begin(), log.end(), '\n'), 15) << log;
        EXPECT_TRUE(trace == readFile(folder.path + "/again")) << log;
    }
}

TEST(Session, a_log_that_the_camera_can_not_play_is_refused) {
    const Folder folder;
    for (const char *line :
         {"option sneed 7", "option seed x", "stored position 00", "stored nothing 00", "5 send 8",
          "5 set seed 3", "5 set noise 1000", "5 order home 3", "5 place 15000 11000",
          "5 place x 11000 near tele", "5 order dance", "5 fault roof on", "5 lose zoom x",
          "5 setting 9 1", "5 power-cycle now"}) {
        Heard heard;
        writeFile(folder.path + "/log", std::string("session 1\npart\n") + line + "\n9 end\n");
        testing::internal::CaptureStderr();
        const auto camera = startCamera({folder.path + "/log", "--alone"}, heard);
        EXPECT_EQ(camera->finish(), EXIT_FAILURE) << line;
        EXPECT_NE(testing::internal::GetCapturedStderr(), "");
        EXPECT_TRUE(heard.await([&heard] { return heard.isOver; }));
    }
}
