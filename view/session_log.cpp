#include "session_log.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

namespace view {

static constexpr char kHead[] = "session 1";
static constexpr size_t kMostDigits = 12;
static constexpr int kDecimal = 10;

bool isPlainText(const std::string &text) {
    return !text.empty() && text.size() <= kLongestInput && text.front() != ' ' &&
           text.back() != ' ' && std::all_of(text.begin(), text.end(), [](char letter) {
               return letter >= ' ' && letter <= '~';
           });
}

// ---- Hex

static int valueOf(char digit) {
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    if (digit >= 'a' && digit <= 'f')
        return digit - 'a' + 10;
    return digit >= 'A' && digit <= 'F' ? digit - 'A' + 10 : -1;
}

bool parseHex(const std::string &text, std::vector<uint8_t> &bytes) {
    std::string digits = text;
    digits.erase(std::remove(digits.begin(), digits.end(), ' '), digits.end());
    bytes.clear();
    for (size_t i = 0; i + 1 < digits.size(); i += 2) {
        const int high = valueOf(digits[i]);
        const int low = valueOf(digits[i + 1]);
        if (high < 0 || low < 0)
            return false;
        bytes.push_back(static_cast<uint8_t>(high << 4 | low));
    }
    return !bytes.empty() && digits.size() % 2 == 0;
}

std::string spellHex(const uint8_t *bytes, size_t size) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        text += kDigits[bytes[i] >> 4];
        text += kDigits[bytes[i] & 0xF];
    }
    return text;
}

// ---- Lines

/// Splits off the first word.
static std::string takeWord(std::string &rest) {
    const size_t end = std::min(rest.find(' '), rest.size());
    std::string word = rest.substr(0, end);
    rest.erase(0, std::min(end + 1, rest.size()));
    return word;
}

static bool parseTick(const std::string &word, int64_t &tick) {
    const bool isNumber = !word.empty() && word.size() <= kMostDigits &&
                          word.find_first_not_of("0123456789") == std::string::npos;
    tick = isNumber ? strtoll(word.c_str(), nullptr, kDecimal) : -1;
    return isNumber;
}

static bool takeNamed(std::string rest, std::vector<NamedText> &named) {
    const std::string name = takeWord(rest);
    const bool isGood = !name.empty() && isPlainText(rest);
    if (isGood)
        named.emplace_back(name, rest);
    return isGood;
}

static bool takeInput(const std::string &word, const std::string &rest, SessionPart &part) {
    int64_t tick = 0;
    const int64_t least = part.inputs.empty() ? 0 : part.inputs.back().tick;
    if (!parseTick(word, tick) || tick < least || part.endTick >= 0 || !isPlainText(rest))
        return false;
    if (rest == "end")
        part.endTick = tick;
    else
        part.inputs.push_back({tick, rest});
    return true;
}

static bool takeHeadLine(const std::string &word, const std::string &rest, SessionPart &part) {
    if (!part.inputs.empty() || part.endTick >= 0)
        return false;
    return takeNamed(rest, word == "option" ? part.options : part.stored);
}

static bool takeLine(const std::string &line, Session &session) {
    if (line == "part") {
        session.emplace_back();
        return true;
    }
    if (session.empty())
        return false;
    std::string rest = line;
    const std::string word = takeWord(rest);
    return word == "option" || word == "stored" ? takeHeadLine(word, rest, session.back())
                                                : takeInput(word, rest, session.back());
}

std::string parseSession(const std::string &text, Session &session) {
    session.clear();
    std::istringstream lines(text);
    std::string line;
    if (!std::getline(lines, line) || line != kHead)
        return std::string("line 1: is not '") + kHead + "'";
    for (int number = 2; std::getline(lines, line); ++number)
        if (!takeLine(line, session))
            return "line " + std::to_string(number) + ": is no part of a session here";
    return session.empty() ? "there is no part" : "";
}

std::string spellPart(const SessionPart &part) {
    std::string text = "part\n";
    for (const NamedText &option : part.options)
        text += "option " + option.first + " " + option.second + "\n";
    for (const NamedText &stored : part.stored)
        text += "stored " + stored.first + " " + stored.second + "\n";
    for (const LoggedInput &input : part.inputs)
        text += std::to_string(input.tick) + " " + input.text + "\n";
    if (part.endTick >= 0)
        text += std::to_string(part.endTick) + " end\n";
    return text;
}

std::string spellSession(const Session &session) {
    std::string text = std::string(kHead) + "\n";
    for (const SessionPart &part : session)
        text += spellPart(part);
    return text;
}

SessionPart cutAfter(const SessionPart &part, int64_t tick) {
    SessionPart cut = part;
    const auto later = std::find_if(cut.inputs.begin(), cut.inputs.end(),
                                    [tick](const LoggedInput &input) { return input.tick > tick; });
    cut.inputs.erase(later, cut.inputs.end());
    cut.endTick = -1;
    return cut;
}

// ---- From one power-on to the next

void setOption(std::vector<NamedText> &options, const NamedText &named) {
    const auto isNamed = [&named](const NamedText &other) { return other.first == named.first; };
    options.erase(std::remove_if(options.begin(), options.end(), isNamed), options.end());
    if (!named.second.empty())
        options.push_back(named);
}

/// What is broken stays broken.
static void carryFault(const std::string &fault, SessionPart &next) {
    const std::string name = fault.substr(0, fault.rfind(' ') + 1);
    const auto isOfIt = [&name](const LoggedInput &input) {
        return input.text.compare(0, name.size(), name) == 0;
    };
    next.inputs.erase(std::remove_if(next.inputs.begin(), next.inputs.end(), isOfIt),
                      next.inputs.end());
    if (fault == name + "on")
        next.inputs.push_back({0, fault});
}

/// What was set while the camera ran is what the next one is made of.
static void carryOver(const LoggedInput &input, SessionPart &next) {
    std::string rest = input.text;
    const std::string verb = takeWord(rest);
    if (verb == "setting")
        next.inputs.push_back({0, input.text});
    if (verb == "fault")
        carryFault(input.text, next);
    if (verb == "set") {
        const std::string name = takeWord(rest);
        if (!name.empty() && isPlainText(rest))
            setOption(next.options, {name, rest});
    }
}

SessionPart continueAfter(const SessionPart &part, const SessionPart &left,
                          const std::vector<NamedText> &chosen) {
    SessionPart next;
    next.options = part.options;
    next.stored = left.stored;
    for (const LoggedInput &input : part.inputs)
        carryOver(input, next);
    for (const NamedText &option : left.options)
        setOption(next.options, option);
    for (const NamedText &option : chosen)
        setOption(next.options, option);
    return next;
}

} // namespace view
