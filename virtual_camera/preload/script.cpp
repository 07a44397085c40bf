#include "preload/script.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace vcam {

static constexpr int64_t kUsPerMs = 1000;
static constexpr size_t kHexDigits = 2;
static constexpr int kHexBase = 16;

static bool parseByte(const std::string &word, uint8_t &byte) {
    if (word.size() != kHexDigits || word.find_first_not_of("0123456789abcdefABCDEF") < kHexDigits)
        return false;
    byte = static_cast<uint8_t>(strtoul(word.c_str(), nullptr, kHexBase));
    return true;
}

static bool parseDistance(std::istringstream &words, double &distanceM) {
    std::string word;
    std::string tooMuch;
    if (!(words >> word) || words >> tooMuch)
        return false;
    char *end = nullptr;
    distanceM = strtod(word.c_str(), &end);
    return *end == '\0' && distanceM > 0;
}

static bool parseWhat(std::istringstream &words, ScriptEvent &event) {
    std::string word;
    if (!(words >> word))
        return false;
    if (word == "distance")
        return parseDistance(words, event.distanceM);
    do {
        uint8_t byte = 0;
        if (!parseByte(word, byte))
            return false;
        event.bytes.push_back(byte);
    } while (words >> word);
    return true;
}

bool parseScriptLine(const std::string &line, std::vector<ScriptEvent> &events) {
    std::istringstream words(line.substr(0, line.find('#')));
    if ((words >> std::ws).eof())
        return true;
    ScriptEvent event;
    int64_t timeMs = 0;
    if (!(words >> timeMs) || timeMs < 0 || !parseWhat(words, event))
        return false;
    event.timeUs = timeMs * kUsPerMs;
    events.push_back(event);
    return true;
}

bool readScript(const std::string &path, std::vector<ScriptEvent> &events, std::string &error) {
    std::ifstream file(path);
    if (!file) {
        error = path + ": can't be read";
        return false;
    }
    int number = 0;
    int64_t lastUs = 0;
    for (std::string line; std::getline(file, line);) {
        const std::string place = path + ":" + std::to_string(++number) + ": ";
        if (!parseScriptLine(line, events)) {
            error = place + "not 'milliseconds hex bytes' or 'milliseconds distance metres'";
            return false;
        }
        if (events.empty())
            continue;
        if (events.back().timeUs < lastUs) {
            error = place + "before the line above it";
            return false;
        }
        lastUs = events.back().timeUs;
    }
    return true;
}

} // namespace vcam
