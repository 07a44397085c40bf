// A session in writing: what the camera was made of, and each input with the tick at which it came.
// The same log gives the same trace, to the byte.
//
//     session 1
//     part                          # a power-on
//     option seed 7                 # the camera's options that are not the usual ones
//     stored position 1027000...    # what the host had kept before, in hex
//     420 send 81010407 27FF        # tick and input; a tick is 10 ms
//     6000 end                      # the last tick
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace view {

constexpr int64_t kTickUs = 10000;
constexpr size_t kLongestInput = 6000; ///< Characters: a preset table in hex is the longest.

using NamedText = std::pair<std::string, std::string>;

struct LoggedInput {
    int64_t tick;
    std::string text;
};

/// From a power-on to the power-off, or to where the session ends.
struct SessionPart {
    std::vector<NamedText> options;
    std::vector<NamedText> stored;
    std::vector<LoggedInput> inputs;
    int64_t endTick = -1; ///< -1: open.
};

using Session = std::vector<SessionPart>;

/// Empty, or which line is wrong and why; then @p session is what stood before it.
std::string parseSession(const std::string &text, Session &session);

std::string spellSession(const Session &session);
std::string spellPart(const SessionPart &part);

/// Whether a text may stand in a line: printable, not too long.
bool isPlainText(const std::string &text);

/// Hex pairs, with or without spaces; false when it is anything else.
bool parseHex(const std::string &text, std::vector<uint8_t> &bytes);
std::string spellHex(const uint8_t *bytes, size_t size);

/// A copy without the inputs after @p tick.
SessionPart cutAfter(const SessionPart &part, int64_t tick);

/// An option's new value; an empty one takes it out.
void setOption(std::vector<NamedText> &options, const NamedText &named);

/// The power-on after this one: the world as it was left, what the lens and the host's store
/// brought along, the settings made anew, and what is chosen afresh.
SessionPart continueAfter(const SessionPart &part, const SessionPart &left,
                          const std::vector<NamedText> &chosen);

} // namespace view
