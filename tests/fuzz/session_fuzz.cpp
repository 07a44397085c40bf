// Any text as a session's log: what is taken is spelt as it was read, or at least reads as the same
// again.
#include "fuzzed_port.h"
#include "session_log.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const std::string text(reinterpret_cast<const char *>(data), size);
    view::Session session;
    if (!view::parseSession(text, session).empty())
        return 0;
    const std::string spelt = view::spellSession(session);
    view::Session again;
    fuzzed::require(view::parseSession(spelt, again).empty(), "what is spelt is read");
    fuzzed::require(view::spellSession(again) == spelt, "and spelt the same");
    for (const view::SessionPart &part : session) {
        const view::SessionPart next = view::continueAfter(part, {}, {});
        view::Session continued;
        fuzzed::require(view::parseSession(view::spellSession({next}), continued).empty(),
                        "so is the part after it");
    }
    return 0;
}
