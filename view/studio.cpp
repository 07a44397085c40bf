#include "studio.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sstream>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

#include "json_text.h"

namespace view {

static constexpr int64_t kMsPerTick = kTickUs / 1000;
static constexpr int kDecimal = 10;
static constexpr double kSlowestPace = 0.05; // the camera's own bounds
static constexpr double kFastestPace = 200;
static constexpr int kFirstFreeDescriptor = 10;

static std::string afterWord(const std::string &line) {
    const size_t space = line.find(' ');
    return space == std::string::npos ? "" : line.substr(space + 1);
}

static bool parseNumber(const std::string &text, int64_t &number) {
    char *end = nullptr;
    number = strtoll(text.c_str(), &end, kDecimal);
    return !text.empty() && *end == '\0' && number >= 0;
}

Studio::Studio(Hub &theHub, std::string cameraProgram, std::vector<std::string> pictureFiles,
               std::function<void(const Bytes &)> listener)
    : hub(theHub), program(std::move(cameraProgram)), pictures(std::move(pictureFiles)),
      toController(std::move(listener)), inputs(program) {
    std::string names = "[";
    for (const std::string &picture : pictures)
        names += (names.size() > 1 ? "," : "") + quote(picture);
    hub.hold("pictures", "{\"k\":\"pictures\",\"files\":" + names + "]}");
}

Studio::~Studio() {
    close();
}

void Studio::close() {
    const std::lock_guard<std::mutex> guard(door->mutex);
    door->isClosed = true;
    camera.reset();
}

// ---- Cameras

int64_t Studio::offsetOf(size_t part) const {
    int64_t offset = 0;
    for (size_t i = 0; i < part; ++i)
        offset += std::max<int64_t>(session[i].endTick, 0) + 1;
    return offset;
}

/// A file without a name, which the camera reads by its descriptor's.
static int writeSession(const SessionPart &part) {
    const int made = memfd_create("session", MFD_CLOEXEC);
    const int file = fcntl(made, F_DUPFD, kFirstFreeDescriptor); // out of the way of the pipes
    ::close(made);
    const std::string text = spellSession({part});
    if (write(file, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        perror("view: the session's log");
    return file;
}

/// For the camera of this generation: what an earlier one still says is not heard.
CameraEars Studio::makeEars() {
    const auto ifMine = [this, held = door, mine = generation](const std::function<void()> &act) {
        const std::lock_guard<std::mutex> guard(held->mutex);
        if (!held->isClosed && mine == generation)
            act();
    };
    return {
        [this, ifMine](const std::string &line) { ifMine([&] { hear(line); }); },
        [this, ifMine](std::string jpeg) { ifMine([&] { hub.showPicture(std::move(jpeg)); }); },
        [this, ifMine] { ifMine([this] { hub.hold("gone", "{\"k\":\"gone\",\"gone\":true}"); }); }};
}

void Studio::play(size_t part, int64_t untilTick, bool isPaused) {
    current = part;
    left = {};
    ++generation;
    camera.reset();
    hub.rewind(offsetOf(part) * kMsPerTick);
    const int file = writeSession(session[part]);
    std::vector<std::string> words = {program,    "/proc/self/fd/" + std::to_string(file),
                                      "--until",  std::to_string(untilTick),
                                      "--pace",   pace,
                                      "--offset", std::to_string(offsetOf(part))};
    if (isPaused)
        words.emplace_back("--paused");
    camera = CameraProcess::start(words, makeEars());
    hub.hold("gone", std::string("{\"k\":\"gone\",\"gone\":") + (camera ? "false}" : "true}"));
    ::close(file);
}

void Studio::begin(Session wanted, int64_t untilTick) {
    const std::lock_guard<std::mutex> guard(door->mutex);
    session = std::move(wanted);
    hub.rewind(0);
    play(0, untilTick, false);
}

// ---- What a camera says

void Studio::hear(const std::string &line) {
    if (line.size() < 2)
        return;
    const std::string rest = line.substr(2);
    Bytes bytes;
    if (line[0] == 'T')
        hearTold(rest);
    else if (line[0] == 'J')
        hub.hold(rest.substr(0, rest.find(',')), rest);
    else if (line[0] == 'S' && parseHex(rest, bytes))
        toController(bytes);
    else if (line[0] == 'B')
        branch(strtoll(rest.c_str(), nullptr, kDecimal));
    else if (line[0] == 'L')
        session[current].inputs.push_back(
            {strtoll(rest.c_str(), nullptr, kDecimal), afterWord(rest)});
    else if (line[0] == 'X')
        hearPart(rest);
}

void Studio::hearTold(const std::string &rest) {
    lastMs = strtoll(rest.c_str(), nullptr, kDecimal);
    hub.publish(lastMs, afterWord(rest));
}

void Studio::branch(int64_t tick) {
    session[current] = cutAfter(session[current], tick);
    session.resize(current + 1);
}

void Studio::hearPart(const std::string &line) {
    const std::string rest = afterWord(line);
    const NamedText named = {rest.substr(0, rest.find(' ')), afterWord(rest)};
    if (line.compare(0, 7, "option ") == 0)
        left.options.push_back(named);
    else if (line.compare(0, 7, "stored ") == 0)
        left.stored.push_back(named);
    else
        goOn(strtoll(rest.c_str(), nullptr, kDecimal));
}

/// A power-on later. One that the log has already is played as it stands there.
void Studio::goOn(int64_t endTick) {
    session[current].endTick = endTick;
    if (current + 1 == session.size())
        session.push_back(continueAfter(session[current], left, chosenNext));
    chosenNext.clear();
    play(current + 1, 0, false);
}

// ---- Orders

std::string Studio::rewind(const std::string &text) {
    int64_t ms = 0;
    if (!parseNumber(text, ms))
        return "'" + text + "' is no instant";
    const int64_t tick = std::min(ms, lastMs) / kMsPerTick;
    size_t part = session.size() - 1;
    while (part > 0 && offsetOf(part) > tick)
        --part;
    play(part, tick - offsetOf(part), true);
    return "";
}

std::string Studio::choose(const std::string &words, std::vector<NamedText> &chosen) const {
    static const char *const kNames[] = {"seed", "lens", "picture", "replies", "recovery"};
    std::istringstream stream(words);
    for (std::string word; stream >> word;) {
        const size_t equals = std::min(word.find('='), word.size());
        NamedText named = {word.substr(0, equals), word.substr(std::min(equals + 1, word.size()))};
        if (std::find(std::begin(kNames), std::end(kNames), named.first) == std::end(kNames) ||
            !isPlainText(named.second))
            return "'" + word + "' can't be chosen";
        if (named.first == "picture") {
            int64_t index = 0;
            if (!parseNumber(named.second, index) || index > static_cast<int64_t>(pictures.size()))
                return "there is no such picture";
            named.second = index == 0 ? "" : pictures[static_cast<size_t>(index) - 1];
        }
        chosen.push_back(named);
    }
    return "";
}

static bool isPace(const std::string &text) {
    char *end = nullptr;
    const double pace = strtod(text.c_str(), &end);
    return pace >= kSlowestPace && pace <= kFastestPace && *end == '\0';
}

/// Another unit, from its beginning.
std::string Studio::beginAnew(const std::string &words) {
    std::vector<NamedText> chosen;
    std::string why = choose(words, chosen);
    if (!why.empty())
        return why;
    SessionPart part;
    for (const NamedText &option : session[0].options)
        if (option.first != "zoom-start" && option.first != "focus-start")
            part.options.push_back(option);
    for (const NamedText &named : chosen)
        setOption(part.options, named);
    session = {part};
    lastMs = 0;
    play(0, 0, false);
    return "";
}

std::string Studio::cycle(const std::string &words) {
    std::vector<NamedText> chosen;
    std::string why = choose(words, chosen);
    if (!why.empty())
        return why;
    chosenNext = chosen;
    return orderCamera("input power-cycle");
}

/// Held by who asks.
std::string Studio::take(const std::string &line) {
    static const char *const kForCamera[] = {"input", "pace", "pause", "go", "step"};
    const std::string word = line.substr(0, line.find(' '));
    const std::string rest = afterWord(line);
    if (word == "rewind")
        return rewind(rest);
    if (word == "new")
        return beginAnew(rest);
    if (word == "cycle")
        return cycle(rest);
    if (std::find(std::begin(kForCamera), std::end(kForCamera), word) == std::end(kForCamera))
        return "there is no order '" + word + "'";
    if (word == "pace" && !isPace(rest))
        return "'" + rest + "' is no pace";
    if (word == "pace")
        pace = rest;
    return orderCamera(line);
}

std::string Studio::obey(const std::string &line) {
    static const std::string kInput = "input";
    if (!isPlainText(line))
        return "that is no order";
    if (line.substr(0, line.find(' ')) == kInput) {
        std::string why = inputs.ask(afterWord(line)); // not under the lock: it may take its time
        if (!why.empty())
            return why;
    }
    const std::lock_guard<std::mutex> guard(door->mutex);
    return take(line);
}

std::string Studio::orderCamera(const std::string &line) {
    return camera == nullptr || camera->order(line) ? "" : "the camera is too far behind";
}

void Studio::send(const Bytes &bytes) {
    const std::lock_guard<std::mutex> guard(door->mutex);
    orderCamera("input send " + spellHex(bytes.data(), bytes.size()));
}

std::string Studio::spell() const {
    const std::lock_guard<std::mutex> guard(door->mutex);
    Session ended = session;
    SessionPart &last = ended.back();
    const int64_t logged = last.inputs.empty() ? 0 : last.inputs.back().tick;
    const int64_t shown = current + 1 == ended.size() ? lastMs / kMsPerTick - offsetOf(current) : 0;
    last.endTick = std::max(logged, shown); // gone back, the rest still belongs to it
    return spellSession(ended);
}

} // namespace view
