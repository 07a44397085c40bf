#include "guards.h"

#include <cstdint>
#include <cstdlib>
#include <sys/random.h>

#include "session_log.h"

namespace view {

static constexpr size_t kTokenBytes = 16;
static constexpr size_t kMostPortDigits = 5;

bool isLocalHost(const std::string &host) {
    for (const char *const name : {"localhost", "127.0.0.1", "[::1]"}) {
        const std::string local = name;
        if (host == local)
            return true;
        if (host.compare(0, local.size() + 1, local + ":") != 0)
            continue;
        const std::string port = host.substr(local.size() + 1);
        return !port.empty() && port.size() <= kMostPortDigits &&
               port.find_first_not_of("0123456789") == std::string::npos;
    }
    return false;
}

bool isSameOrigin(const std::string &origin, const std::string &host) {
    return origin == "http://" + host;
}

bool isToken(const std::string &given, const std::string &token) {
    unsigned difference = given.size() == token.size() ? 0 : 1;
    for (size_t i = 0; i < token.size(); ++i) {
        const char letter = i < given.size() ? given[i] : '\0';
        difference |= static_cast<unsigned>(letter ^ token[i]);
    }
    return difference == 0 && !token.empty();
}

std::string makeToken() {
    uint8_t bytes[kTokenBytes];
    if (getrandom(bytes, sizeof bytes, 0) != static_cast<ssize_t>(sizeof bytes))
        abort();
    return spellHex(bytes, sizeof bytes);
}

} // namespace view
