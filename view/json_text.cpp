#include "json_text.h"

#include <cmath>
#include <cstdio>

namespace view {

std::string quote(const std::string &text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (letter == '"' || letter == '\\')
            quoted += '\\';
        quoted += code >= ' ' && code < 0x7F ? letter : ' ';
    }
    return quoted + "\"";
}

std::string spellNumber(double number) {
    char text[32];
    snprintf(text, sizeof text, "%.7g", number);
    return std::isfinite(number) ? text : "null";
}

} // namespace view
