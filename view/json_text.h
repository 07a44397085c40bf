// JSON for the page, put together by hand: there is little of it and its shape never varies.
#pragma once

#include <string>

namespace view {

/// A text in quotes.
std::string quote(const std::string &text);

/// A number as short as it reads back; what is infinite is null.
std::string spellNumber(double number);

} // namespace view
