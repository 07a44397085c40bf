// ./run view: a page on this machine's loopback on which a camera lives.
#include <CLI/CLI.hpp>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>

#include "guards.h"
#include "hub.h"
#include "json_text.h"
#include "server.h"
#include "session_log.h"
#include "studio.h"
#include "terminal_line.h"

static constexpr double kTicksPerS = 1e6 / view::kTickUs;
static constexpr double kMostFromS = 86400;

namespace {
struct Wish {
    std::string seed = "1";
    std::string lens = "B";
    std::vector<std::string> pictures;
    int port = 8043;
    std::string recordFile;
    std::string replayFile;
    double fromS = 0;
};
} // namespace

static std::string cameraProgram() {
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / "view_camera";
}

static bool readSession(const std::string &path, view::Session &session) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    const std::string why = file ? view::parseSession(text.str(), session) : "can't be read";
    if (!why.empty())
        fprintf(stderr, "view: %s: %s\n", path.c_str(), why.c_str());
    return why.empty();
}

static view::Session makeSession(const Wish &wish) {
    view::SessionPart part;
    part.options = {{"seed", wish.seed}, {"lens", wish.lens}, {"replies", "2"}, {"recovery", "on"}};
    if (!wish.pictures.empty())
        part.options.emplace_back("picture", wish.pictures.front());
    return {part};
}

static sigset_t endingSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

/// Whole at each instant, whatever ends the program.
static bool record(const std::string &path, const std::string &text) {
    const std::string made = path + ".new";
    std::ofstream file(made);
    file << text;
    file.close();
    const bool isKept = file && rename(made.c_str(), path.c_str()) == 0;
    if (!isKept)
        fprintf(stderr, "view: %s: can't be written\n", path.c_str());
    return isKept;
}

/// Until a signal comes, the log is kept each second.
static bool keepUntilSignal(const std::string &path, const view::Studio &studio) {
    static constexpr struct timespec kBetween = {1, 0};
    const sigset_t signals = endingSignals();
    bool isKept = true;
    bool isOver = false;
    while (!isOver && isKept) {
        isOver = sigtimedwait(&signals, nullptr, &kBetween) > 0;
        isKept = path.empty() || record(path, studio.spell());
    }
    return isKept;
}

static int serve(const Wish &wish, view::Session session) {
    view::Hub hub;
    view::Studio studio(hub, cameraProgram(), wish.pictures, view::writeTerminalLine);
    view::Server server(hub, studio, view::makeToken());
    const int port = server.bind(wish.port);
    if (port < 0) {
        fprintf(stderr, "view: port %d is taken; --port chooses another\n", wish.port);
        return EXIT_FAILURE;
    }
    studio.begin(std::move(session), static_cast<int64_t>(wish.fromS * kTicksPerS));
    const std::string terminal =
        view::openTerminalLine([&studio](const view::Bytes &bytes) { studio.send(bytes); });
    hub.hold("terminal", "{\"k\":\"terminal\",\"name\":" + view::quote(terminal) + "}");
    std::thread([&server] { server.run(); }).detach();
    printf("A camera lives at http://localhost:%d/ and listens to VISCA and Pelco-D on %s.\n"
           "Ctrl-C ends it.\n",
           port, terminal.c_str());
    fflush(stdout);
    const bool isKept = keepUntilSignal(wish.recordFile, studio);
    studio.close();
    server.stop();
    // A browser keeps connections open on which nothing comes, and the server's threads would wait
    // for them for a second.
    _exit(isKept ? EXIT_SUCCESS : EXIT_FAILURE);
}

// NOLINTNEXTLINE(bugprone-exception-escape): what is thrown here ends the program, and may
int main(int argc, char **argv) {
    Wish wish;
    CLI::App app("A camera on a page: look through its lens, hold tele, break a sensor, go back.",
                 "view");
    app.add_option("--seed", wish.seed, "the unit and where its lens stands at power-on")
        ->check(CLI::NonNegativeNumber);
    app.add_option("--lens", wish.lens, "lens model")->check(CLI::IsMember({"A", "B"}));
    app.add_option("--picture", wish.pictures, "PNG or JPEG to look at; the page offers them all")
        ->check(CLI::ExistingFile);
    app.add_option("--port", wish.port, "of the loopback; 0 is any; 8043 unless given")
        ->check(CLI::Range(0, 65535));
    app.add_option("--record", wish.recordFile, "keep the session's log in this file, each second");
    app.add_option("--replay", wish.replayFile,
                   "play a session that was kept; it pauses at its end")
        ->check(CLI::ExistingFile);
    app.add_option("--from", wish.fromS, "seconds of the session after which it is watched")
        ->check(CLI::Range(0.0, kMostFromS));
    CLI11_PARSE(app, argc, argv);
    for (std::string &picture : wish.pictures)
        picture = std::filesystem::absolute(picture);

    const sigset_t signals = endingSignals();
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    view::Session session = makeSession(wish);
    if (!wish.replayFile.empty() && !readSession(wish.replayFile, session))
        return EXIT_FAILURE;
    return serve(wish, std::move(session));
}
