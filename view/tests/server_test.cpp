// The server as its pages and as strangers find it, with a camera behind it.
#include "server.h"

#include "guards.h"

#include <fstream>
#include <httplib.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include <gtest/gtest.h>

using namespace view;
using namespace std::chrono_literals;

namespace {

struct Served : testing::Test {
    Hub hub;
    Studio studio{hub, VIEW_CAMERA, {}, [](const Bytes &) {}};
    std::string token = makeToken();
    Server server{hub, studio, token};
    int port = server.bind(0);
    std::thread serving{[this] { server.run(); }};
    httplib::Client client{"127.0.0.1", port};
    Reader reader;
    std::string here = "http://127.0.0.1:" + std::to_string(port);

    Served() {
        SessionPart part;
        part.options = {{"seed", "7"}, {"replies", "2"}};
        studio.begin({part});
    }
    ~Served() override {
        server.stop();
        serving.join();
    }
    int order(const std::string &text) {
        return order(text, {{"Origin", here}, {"X-Token", token}});
    }
    int order(const std::string &text, const httplib::Headers &headers) {
        const auto answer = client.Post("/order", headers, text, "text/plain");
        return answer ? answer->status : -1;
    }
    int get(const std::string &path, const httplib::Headers &headers = {}) {
        const auto answer = client.Get(path.c_str(), headers);
        return answer ? answer->status : -1;
    }

    /// Wait until what is told from now on holds such a text; the last event that does.
    std::string await(const std::string &text) {
        for (const auto end = std::chrono::steady_clock::now() + 20s;
             std::chrono::steady_clock::now() < end;) {
            const std::string told = hub.read(reader);
            const size_t at = told.rfind(text);
            if (at != std::string::npos)
                return told.substr(told.rfind("data: ", at));
        }
        ADD_FAILURE() << "nothing told holds " << text;
        return "";
    }
};

} // namespace

TEST_F(Served, its_own_page_orders_and_a_stranger_does_not) {
    EXPECT_EQ(get("/"), 200);
    EXPECT_EQ(get("/page.js"), 200);
    EXPECT_EQ(get("/nothing.js"), 404);
    EXPECT_EQ(get("/../CMakeLists.txt"), 404);
    EXPECT_EQ(get("/", {{"Host", "evil.example"}}), 403);
    EXPECT_EQ(get("/events", {{"Host", "evil.example"}}), 403);
    EXPECT_EQ(get("/picture", {{"Origin", "http://evil.example"}}), 403);
    EXPECT_EQ(order("pause"), 200);
    EXPECT_EQ(order("pause", {{"Origin", here}}), 403);
    EXPECT_EQ(order("pause", {{"Origin", here}, {"X-Token", std::string(32, '0')}}), 403);
    EXPECT_EQ(order("pause", {{"X-Token", token}}), 403);
    EXPECT_EQ(order("pause", {{"Origin", "http://evil.example"}, {"X-Token", token}}), 403);
    EXPECT_EQ(order("pause", {{"Host", "evil.example"}, {"Origin", here}, {"X-Token", token}}),
              403);
}

TEST_F(Served, orders_that_are_none_are_refused) {
    for (const char *text : {"",
                             "dance",
                             "rewind",
                             "rewind -5",
                             "rewind soon",
                             "new port=1",
                             "new picture=/etc/passwd",
                             "cycle picture=1",
                             "pause\ngo",
                             "input",
                             "input dance",
                             "input send",
                             "input send 8G",
                             "input order zoom-to x",
                             "input order zoom-to 65536",
                             "input order home 3",
                             "input set noise 1000",
                             "input set seed 3",
                             "input setting 99 1",
                             "input fault roof on",
                             "input lose zoom far",
                             "pace",
                             "pace fast",
                             "pace 0",
                             "pace 201"})
        EXPECT_EQ(order(text), 400) << text;
    EXPECT_EQ(order(std::string(8193, 'x')), 413);
}

TEST_F(Served, many_pages_are_served_and_too_many_refused) {
    std::vector<std::thread> pages;
    std::atomic<int> told{0};
    std::atomic<int> refused{0};
    std::atomic<bool> isOver{false};
    for (int i = 0; i < 14; ++i) {
        pages.emplace_back([&] {
            httplib::Client page("127.0.0.1", port);
            page.Get(
                "/events",
                [&](const httplib::Response &answer) {
                    (answer.status == 503 ? refused : told)++;
                    return answer.status != 503;
                },
                [&](const char *, size_t) { return !isOver; });
        });
    }
    for (int i = 0; i < 200 && told + refused < 14; ++i)
        std::this_thread::sleep_for(50ms);
    isOver = true;
    for (std::thread &page : pages)
        page.join();
    EXPECT_EQ(refused, 2);
}

/// What is true of the instant of an event: time and status, without what led there.
static std::string stateOf(const std::string &event) {
    const size_t from = event.find("\"t\":");
    return event.substr(from, event.find(",\"pace\"") - from);
}

static std::string lastSampleOf(const std::string &event) {
    const size_t end = event.rfind("]],\"told\"");
    return end == std::string::npos
               ? ""
               : event.substr(event.rfind('[', end), end - event.rfind('[', end));
}

TEST_F(Served, going_back_finds_the_same_state_and_a_change_goes_another_way) {
    EXPECT_EQ(order("pace 100"), 200);
    await("\"runs\":1");
    EXPECT_EQ(order("input send 8101041801FF"), 200);
    EXPECT_EQ(order("pause"), 200);
    const std::string paused = await("\"paused\":true");
    const std::string ms = std::to_string(atoll(paused.c_str() + paused.find("\"t\":") + 4));
    EXPECT_EQ(order("go"), 200);
    await("\"runs\":2");
    EXPECT_EQ(order("rewind " + ms), 200);
    const std::string again = await("\"paused\":true");
    EXPECT_EQ(stateOf(again), stateOf(paused));
    EXPECT_NE(lastSampleOf(again), "");
    EXPECT_NE(studio.spell().find("send 8101041801FF"), std::string::npos);
    EXPECT_EQ(order("rewind 1000"), 200);
    await("\"again\":true");
    EXPECT_EQ(order("input set distance 5"), 200);
    await("\"again\":false");
    EXPECT_EQ(studio.spell().find("send 8101041801FF"), std::string::npos);
    EXPECT_NE(studio.spell().find("100 set distance 5"), std::string::npos);
}

TEST_F(Served, off_and_on_again_the_lens_stands_where_it_stood) {
    EXPECT_EQ(order("pace 100"), 200);
    await("\"runs\":1");
    EXPECT_EQ(order("input set distance 3"), 200);
    EXPECT_EQ(order("cycle recovery=on"), 200);
    const auto isOnAgain = [this] {
        const std::string log = studio.spell();
        return log.find("part\n") != log.rfind("part\n");
    };
    for (int i = 0; i < 200 && !isOnAgain(); ++i)
        std::this_thread::sleep_for(20ms);
    std::string log = studio.spell();
    log.erase(0, log.rfind("part\n"));
    for (const char *line :
         {"option zoom-start 1", "stored position ", "option distance 3", "option recovery on"})
        EXPECT_NE(log.find(line), std::string::npos) << line << " in " << log;
    await("\"activity\":1");
    await("\"activity\":2");
}

TEST_F(Served, a_session_that_was_kept_pauses_at_its_end_and_goes_on_from_there) {
    SessionPart kept;
    kept.options = {{"seed", "7"}};
    kept.inputs = {{10, "set distance 3"}};
    kept.endTick = 150;
    studio.begin({kept});
    const std::string ended = await("\"ended\":true");
    EXPECT_NE(ended.find("\"t\":1500,"), std::string::npos) << ended;
    EXPECT_NE(ended.find("\"paused\":true"), std::string::npos) << ended;
    EXPECT_EQ(order("go"), 200);
    await("\"t\":16");
}

/// A camera program that hears nothing for a while, and then has more to say than a pipe holds
/// before it listens.
static std::string makeTalker() {
    char name[] = "/tmp/view_talker.XXXXXX";
    close(mkstemp(name));
    std::ofstream(name) << "#!/bin/sh\n"
                           "[ \"$1\" = --check ] && exec sed -u 's/.*//'\n"
                           "sleep 0.5\n"
                           "yes 2>/dev/null 'T 5 {\"k\":\"talk\"}' | head -n 20000\n"
                           "echo 'T 6 {\"k\":\"silence\"}'\n"
                           "exec cat >/dev/null\n";
    chmod(name, 0700);
    return name;
}

TEST(Studio, orders_to_a_camera_that_talks_and_does_not_listen_block_nobody) {
    const std::string talker = makeTalker();
    Hub hub;
    Reader reader;
    Studio studio(hub, talker, {}, [](const Bytes &) {});
    studio.begin({SessionPart()});
    const std::string order = "input send " + std::string(400, '8');
    for (int i = 0; i < 500; ++i) // thrice what a pipe holds
        EXPECT_EQ(studio.obey(order), "");
    std::string told;
    for (const auto end = std::chrono::steady_clock::now() + 30s;
         told.find("silence") == std::string::npos && std::chrono::steady_clock::now() < end;)
        told = hub.read(reader);
    EXPECT_NE(told.find("silence"), std::string::npos);
    studio.close();
    remove(talker.c_str());
}

TEST_F(Served, a_port_that_is_taken_is_not_shared) {
    Server second(hub, studio, token);
    EXPECT_EQ(second.bind(port), -1);
}
