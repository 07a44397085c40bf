#include "waveform/trace_line.h"

#include <cstdlib>
#include <sstream>

namespace vcam {

std::string TraceLine::get(const std::string &key) const {
    const std::string padded = " " + keys;
    const size_t at = padded.find(" " + key + "=");
    if (at == std::string::npos)
        return "";
    const size_t begin = at + key.size() + 2;
    if (begin < padded.size() && padded[begin] == '"')
        return padded.substr(begin + 1, padded.rfind('"') - begin - 1);
    return padded.substr(begin, padded.find(' ', begin) - begin);
}

int64_t TraceLine::getNumber(const std::string &key) const {
    return strtoll(get(key).c_str(), nullptr, 10);
}

bool parseTraceLine(const std::string &line, TraceLine &parsed) {
    std::istringstream words(line);
    parsed = TraceLine{};
    words >> parsed.timeUs >> parsed.thread >> parsed.device >> parsed.event;
    if (words.fail())
        return false;
    words >> std::ws;
    std::getline(words, parsed.keys);
    return true;
}

} // namespace vcam
