// What the library prints: to the console file, and line by line into the trace.
#pragma once

#include <cstddef>
#include <string>

namespace vcam {

/// With an empty path the text goes into the trace only, with "-" to standard output too. False
/// when the file cannot be made.
bool openConsole(const std::string &path);

/// From now on @p take gets every line too, on the thread that prints it.
void watchConsole(void (*take)(const char *text, size_t length));

/// Nothing is printed from now on. False, with errno, when a part of the text is not in the file.
bool closeConsole();

} // namespace vcam
