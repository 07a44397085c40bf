// A session's log as somebody's file: whatever it says, reading it ends with a session that spells
// itself and is read again as the same, or with the number of a line.
#include "session_log.h"

#include <cstdio>
#include <cstdlib>

static void require(bool holds, const char *what) {
    if (holds)
        return;
    fprintf(stderr, "violated: %s\n", what);
    abort();
}

static void requireOrder(const view::SessionPart &part) {
    int64_t tick = 0;
    for (const view::LoggedInput &input : part.inputs) {
        require(input.tick >= tick, "ticks go up");
        require(view::isPlainText(input.text), "an input is a plain text");
        tick = input.tick;
    }
    require(part.endTick == -1 || part.endTick >= tick, "nothing comes after the end");
    const view::SessionPart cut = view::cutAfter(part, tick / 2);
    require(cut.inputs.size() <= part.inputs.size(), "a cut adds nothing");
    require(cut.inputs.empty() || cut.inputs.back().tick <= tick / 2, "a cut ends at its tick");
}

/// Whatever was played, the power-on after it can be written down.
static void requireNext(const view::SessionPart &part) {
    view::Session again;
    const std::string next = view::spellSession({view::continueAfter(part, {}, {})});
    require(view::parseSession(next, again).empty(), "the next power-on can be read");
}

static void requireSoundHex(const std::string &text) {
    std::vector<uint8_t> bytes;
    std::vector<uint8_t> again;
    if (!view::parseHex(text, bytes))
        return;
    const std::string spelled = view::spellHex(bytes.data(), bytes.size());
    require(view::parseHex(spelled, again) && again == bytes, "hex is read as it is spelled");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(data, data + size);
    requireSoundHex(text);
    view::Session session;
    const bool isWhole = view::parseSession(text, session).empty();
    for (const view::SessionPart &part : session) {
        requireOrder(part);
        requireNext(part);
    }
    if (session.empty())
        return 0;
    const std::string spelled = view::spellSession(session);
    view::Session again;
    require(view::parseSession(spelled, again).empty(), "what is spelled can be read");
    require(view::spellSession(again) == spelled, "and is the same");
    require(!isWhole || !session.empty(), "a session has a part");
    return 0;
}
