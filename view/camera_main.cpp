// A camera in a process of its own: what comes from outside is taken at fixed virtual instants, a
// tick of 10 ms apart, and by the thread that holds the baton; so the log of the inputs with their
// ticks is all that it takes to play the session again.
//
//     view_camera SESSION [--until TICK] [--offset TICKS] [--pace NUMBER] [--paused] [--alone]
//                         [--trace FILE]
//     view_camera --check
//
// SESSION holds one part. The camera plays it as fast as it goes until TICK, then at the pace,
// and what else the part holds comes at its ticks until something new comes: then the rest is
// dropped. Orders on standard input, a line each: "input TEXT", "pace NUMBER", "pause", "go",
// "step" for one VD period. On standard output, a line each:
//
//     L TICK INPUT        # a new input, for the log
//     B TICK              # inputs of the log after this tick are dropped
//     S HEX               # what the camera has sent on its line
//     T MS JSON           # what the page is told, and when; J JSON what holds until it comes anew
//     X LINE ...          # switched off: what the next part begins with; "X end TICK" is the last
//
// Pictures go to descriptor 3. Alone, it plays the part to its end and says nothing. Where the part
// has an end and nothing new has come, the camera pauses there.
//
// With --check it plays nothing: to each line that it reads, an input, it says why that is none, or
// an empty line.
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <poll.h>
#include <sstream>
#include <string>
#include <unistd.h>

#include "autofocus/settings.h"
#include "autofocus_control.h"
#include "camera.h"
#include "clock/next_call.h"
#include "clock/pace.h"
#include "clock/virtual_clock.h"
#include "devices/driver_chip.h"
#include "devices/lens.h"
#include "frame_words.h"
#include "host/memory_host.h"
#include "inputs.h"
#include "json_text.h"
#include "observer.h"
#include "optics/render.h"
#include "option_table.h"
#include "picture_line.h"
#include "session_log.h"

namespace view {

static constexpr double kReplayPace = 1e6; // an unlimited one would end a camera that is paused
static constexpr double kSlowest = 0.05;
static constexpr double kFastest = 200;
static constexpr int64_t kTellEveryNs = 35000000; // four ticks at real time
static constexpr int64_t kNsPerS = 1000000000;
static constexpr int kPictureDescriptor = 3;
static constexpr int64_t kLongestStepTicks = 8;
static constexpr int kPaceDigits = 10;

static vcam::NextCall<ssize_t(int, const void *, size_t)> nextWrite{"write"};
static vcam::NextCall<ssize_t(int, void *, size_t)> nextRead{"read"};
static vcam::NextCall<int(struct pollfd *, nfds_t, int)> nextPoll{"poll"};
static vcam::NextCall<int(clockid_t, struct timespec *)> nextClockGettime{"clock_gettime"};

namespace {
/// What the command line says.
struct Wish {
    std::string sessionFile;
    std::string traceFile;
    int64_t untilTick = 0;
    int64_t offsetTicks = 0;
    double pace = 1;
    bool isPaused = false;
    bool isAlone = false;
};
} // namespace

static Wish wish;
static SessionPart part;
static vcam::CameraOptions options;
static size_t nextInput; // of the part
static int64_t tick;
static double pace;
static bool isPaused;
static int64_t stepFromUs = -1; // the VD period's end before the one that is waited for
static int64_t stepLimitTick;
static std::string unread; // of standard input
static int64_t toldNs;
static bool isNews = true;
static vcam::SceneLook shown = {};
static std::map<std::string, std::string> world;

[[noreturn]] static void fail(const std::string &why) {
    fprintf(stderr, "view_camera: %s\n", why.c_str());
    _exit(EXIT_FAILURE);
}

// ---- Telling

static void say(const std::string &line) {
    const std::string whole = line + "\n";
    size_t done = 0;
    while (!wish.isAlone && done < whole.size()) {
        const ssize_t written = nextWrite(STDOUT_FILENO, &whole[done], whole.size() - done);
        if (written < 0 && errno != EINTR)
            _exit(EXIT_SUCCESS); // nobody listens any more
        done += written > 0 ? static_cast<size_t>(written) : 0;
    }
}

static int64_t realNs() {
    struct timespec time = {};
    nextClockGettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * kNsPerS + time.tv_nsec;
}

/// What was last set of the world, and which faults are there: "set distance" is "3".
static void noteWorld(const std::string &input) {
    const size_t verbEnd = input.find(' ');
    const size_t nameEnd = input.find(' ', verbEnd + 1);
    const std::string verb = input.substr(0, verbEnd);
    if ((verb == "set" || verb == "fault") && nameEnd != std::string::npos)
        world[input.substr(0, nameEnd)] = input.substr(nameEnd + 1);
}

static std::string describeWorld() {
    std::string text = ",\"world\":{";
    const char *separator = "";
    for (const auto &named : world) {
        text += separator + quote(named.first) + ":" + quote(named.second);
        separator = ",";
    }
    return text + "}";
}

/// All that the log holds has been played.
static bool isAtEnd() {
    return tick == part.endTick;
}

static std::string describeRun() {
    char text[120];
    const auto spell = [](bool is) { return is ? "true" : "false"; };
    snprintf(text, sizeof text, ",\"pace\":%g,\"paused\":%s,\"again\":%s,\"ended\":%s", pace,
             spell(isPaused), spell(nextInput < part.inputs.size()), spell(isAtEnd()));
    return text + describeWorld();
}

static void tellNow() {
    for (const std::string &line : takeStaticLines())
        say("J " + line);
    const int64_t ms = (wish.offsetTicks + tick) * (kTickUs / 1000);
    say("T " + std::to_string(ms) + " " + takeState(tick, describeRun()));
    const vcam::SceneLook look = vcam::lookNow();
    if (!(look == shown))
        show(look);
    shown = look;
    toldNs = realNs();
    isNews = false;
}

static void tellIfDue() {
    if (tick >= wish.untilTick && !wish.isAlone && (isNews || realNs() - toldNs >= kTellEveryNs))
        tellNow();
}

// ---- Inputs

/// What the next power-on begins with: where the lens stands and what the host has kept.
[[noreturn]] static void switchOff() {
    const vcam::Host &host = vcam::host();
    const auto sayStored = [](const char *name, const void *bytes, size_t size) {
        say(std::string("X stored ") + name + " " +
            spellHex(static_cast<const uint8_t *>(bytes), size));
    };
    tellNow();
    say("X option zoom-start " + std::to_string(vcam::truePosition(vcam::Axis::Zoom)));
    say("X option focus-start " + std::to_string(vcam::truePosition(vcam::Axis::Focus)));
    unsigned position[2] = {host.zoom, host.focus};
    if (!host.savedPositions.empty()) {
        position[0] = host.savedPositions.back().first;
        position[1] = host.savedPositions.back().second;
    }
    if (host.hasPosition || !host.savedPositions.empty())
        sayStored("position", position, sizeof position);
    if (host.hasPresets || host.savedPresetTables > 0)
        sayStored("presets", &host.presets, sizeof host.presets);
    if (host.hasFocusLine || host.savedFocusLines > 0)
        sayStored("line", &host.focusLine, sizeof host.focusLine);
    say("X end " + std::to_string(tick));
    vcam::powerOff();
    _exit(EXIT_SUCCESS);
}

static void take(const std::string &input) {
    noteSent(input);
    isNews = true;
    if (input == "power-cycle")
        switchOff();
    applyInput(input, options);
    noteWorld(input);
}

static void takeLogged() {
    while (nextInput < part.inputs.size() && part.inputs[nextInput].tick <= tick)
        take(part.inputs[nextInput++].text);
}

/// Something new: from here on the session goes another way.
static void takeNew(const std::string &input) {
    if (!checkInput(input).empty())
        return;
    if (nextInput < part.inputs.size()) {
        part.inputs.resize(nextInput);
        say("B " + std::to_string(tick));
    }
    part.endTick = -1;
    say("L " + std::to_string(tick) + " " + input);
    take(input);
}

// ---- Orders of whoever watches: real time is theirs, and none of the log's

static void setPaused(bool isWanted) {
    isPaused = isWanted;
    isNews = true;
    if (!isPaused)
        vcam::startPace(pace, vcam::nowUs());
}

static void setPace(const std::string &number) {
    const double wanted = strtod(number.c_str(), nullptr);
    if (wanted >= kSlowest && wanted <= kFastest)
        pace = wanted;
    isNews = true;
    vcam::startPace(pace, vcam::nowUs());
}

static void beginStep() {
    stepFromUs = vcam::vdEndUs();
    stepLimitTick = tick + kLongestStepTicks;
    setPaused(false);
}

static void endStepWhenDue() {
    const bool isOver = vcam::vdEndUs() > stepFromUs && vcam::nowUs() >= vcam::vdEndUs();
    if (stepFromUs < 0 || (!isOver && tick < stepLimitTick))
        return;
    stepFromUs = -1;
    setPaused(true);
}

static void obey(const std::string &line) {
    const size_t space = line.find(' ');
    const std::string word = line.substr(0, space);
    const std::string rest = space == std::string::npos ? "" : line.substr(space + 1);
    if (word == "input")
        takeNew(rest);
    else if (word == "pace")
        setPace(rest);
    else if (word == "pause" || word == "go")
        setPaused(word == "pause");
    else if (word == "step")
        beginStep();
}

static void takeOrders(int patienceMs) {
    struct pollfd input = {STDIN_FILENO, POLLIN, 0};
    if (nextPoll(&input, 1, patienceMs) <= 0)
        return;
    char bytes[4096];
    const ssize_t count = nextRead(STDIN_FILENO, bytes, sizeof bytes);
    if (count <= 0) { // whoever started us has gone
        vcam::powerOff();
        _exit(EXIT_SUCCESS);
    }
    unread.append(bytes, static_cast<size_t>(count));
    size_t end = 0;
    while ((end = unread.find('\n')) != std::string::npos) {
        const std::string line = unread.substr(0, end);
        unread.erase(0, end + 1);
        obey(line);
    }
}

// ---- The camera

static bool takeStored(const NamedText &stored) {
    vcam::Host &host = vcam::host();
    std::vector<uint8_t> bytes;
    const auto fill = [&bytes](void *record, size_t size, bool &isThere) {
        isThere = bytes.size() == size;
        if (isThere)
            memcpy(record, bytes.data(), size);
        return isThere;
    };
    unsigned position[2] = {};
    if (!parseHex(stored.second, bytes))
        return false;
    if (stored.first == "presets")
        return fill(&host.presets, sizeof host.presets, host.hasPresets);
    if (stored.first == "line")
        return fill(&host.focusLine, sizeof host.focusLine, host.hasFocusLine);
    const bool isPosition =
        stored.first == "position" && fill(position, sizeof position, host.hasPosition);
    host.zoom = position[0];
    host.focus = position[1];
    return isPosition;
}

static void prepare() {
    for (const NamedText &named : part.options) {
        const vcam::Option *option = vcam::findOption(named.first);
        const std::string why = option == nullptr
                                    ? "there is no option " + named.first
                                    : vcam::takeOption(*option, named.second, options);
        if (!why.empty())
            fail(why);
        noteWorld("set " + named.first + " " + named.second);
    }
    for (const NamedText &stored : part.stored)
        if (!takeStored(stored))
            fail("stored " + stored.first + ": is no record of the host's");
    for (const LoggedInput &input : part.inputs)
        if (!checkInput(input.text).empty())
            fail(checkInput(input.text));
}

static void startCamera() {
    options.pace = kReplayPace;
    options.traceFile = wish.traceFile;
    options.consoleFile.clear();
    g_LensType = options.lensType;
    g_ICUTState = options.night ? 1 : 0;
    if (!wish.isAlone)
        startPainting(kPictureDescriptor);
    vcam::powerOn(options);
    AF_Manager_Set_Setting_API(AF_SETTING_SERIAL_REPLIES, options.serialReplies);
    AF_Manager_Set_Setting_API(AF_SETTING_RECOVERY, options.recovery ? 1 : 0);
    vcam::introduceHost();
    beginObserving(options, wish.offsetTicks);
    if (AF_Manager_Start_API() != 0)
        fail("the library refuses to start");
}

/// From here on somebody watches.
static void arrive() {
    pace = wish.pace;
    vcam::startPace(pace, vcam::nowUs());
    setPaused(wish.isPaused);
}

static void playTick() {
    vcam::sleepUntilUs(tick * kTickUs);
    const Bytes answers = observeTick(tick);
    takeLogged(); // after the look, like what comes live
    if (tick == wish.untilTick && !wish.isAlone)
        arrive();
    if (tick < wish.untilTick || wish.isAlone)
        return;
    isNews = isNews || !answers.empty();
    if (!answers.empty())
        say("S " + spellHex(answers.data(), answers.size()));
    takeOrders(0);
    endStepWhenDue();
    if (isAtEnd())
        setPaused(true);
    tellIfDue();
    while (isPaused) {
        takeOrders(-1);
        tellIfDue();
    }
}

static void play() {
    startCamera();
    const bool isEndless = !wish.isAlone;
    for (tick = 0; isEndless || tick <= part.endTick; ++tick)
        playTick();
    exit(vcam::powerOff() ? EXIT_SUCCESS : EXIT_FAILURE);
}

// ---- The command line

static std::string readFile(const std::string &path) {
    std::ifstream file(path);
    std::stringstream text;
    text << file.rdbuf();
    if (!file)
        fail(path + ": can't be read");
    return text.str();
}

static void takeWord(const std::string &word, const char *value) {
    const std::string text = value == nullptr ? "" : value;
    if (word == "--until")
        wish.untilTick = strtoll(text.c_str(), nullptr, kPaceDigits);
    else if (word == "--offset")
        wish.offsetTicks = strtoll(text.c_str(), nullptr, kPaceDigits);
    else if (word == "--pace")
        wish.pace = strtod(text.c_str(), nullptr);
    else if (word == "--trace")
        wish.traceFile = text;
    else
        fail("there is no " + word);
}

[[noreturn]] static void checkInputs() {
    for (std::string line; std::getline(std::cin, line);)
        say(checkInput(line));
    exit(EXIT_SUCCESS);
}

static void readCommandLine(int argc, char **argv) {
    if (argc < 2)
        fail("which session?");
    if (strcmp(argv[1], "--check") == 0)
        checkInputs();
    wish.sessionFile = argv[1];
    for (int i = 2; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--paused")
            wish.isPaused = true;
        else if (word == "--alone")
            wish.isAlone = true;
        else
            takeWord(word, argv[++i]);
    }
}

static void readSession() {
    Session session;
    const std::string why = parseSession(readFile(wish.sessionFile), session);
    if (!why.empty())
        fail(wish.sessionFile + ": " + why);
    if (session.size() != 1)
        fail(wish.sessionFile + ": holds more than one power-on");
    part = session[0];
    if (wish.isAlone && part.endTick < 0)
        fail(wish.sessionFile + ": has no end");
}

} // namespace view

int main(int argc, char **argv) {
    view::readCommandLine(argc, argv);
    view::readSession();
    view::prepare();
    view::play();
}
