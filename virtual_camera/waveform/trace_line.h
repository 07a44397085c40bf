// A line of the trace, read back.
#pragma once

#include <cstdint>
#include <string>

namespace vcam {

struct TraceLine {
    int64_t timeUs = 0;
    std::string thread;
    std::string device;
    std::string event;
    std::string keys; ///< The key=value pairs.

    bool is(const char *ofDevice, const char *what) const {
        return device == ofDevice && event == what;
    }

    /// Value of a key without its quotes, "" when there is none.
    std::string get(const std::string &key) const;

    /// Value of a decimal key, 0 when there is none.
    int64_t getNumber(const std::string &key) const;
};

/// False for what is no line of a trace.
bool parseTraceLine(const std::string &line, TraceLine &parsed);

} // namespace vcam
