// The controller's part of a run, from a text file: a line an event, in the order of time.
//
//     # milliseconds since power-on, and what happens then
//     12000 81 01 04 07 27 FF    # bytes on the serial port, in hex
//     20000 distance 3           # the object stands 3 m away; inf is infinitely far
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vcam {

struct ScriptEvent {
    int64_t timeUs = 0;
    std::vector<uint8_t> bytes; ///< Empty: the object moves.
    double distanceM = 0;
};

/// Append the events of a file. False with @p error saying which line is wrong, and why.
bool readScript(const std::string &path, std::vector<ScriptEvent> &events, std::string &error);

/// One line without its end. False when it is neither empty nor an event.
bool parseScriptLine(const std::string &line, std::vector<ScriptEvent> &events);

} // namespace vcam
