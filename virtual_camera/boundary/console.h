// What the library prints: to the console file, and line by line into the trace.
#pragma once

#include <string>

namespace vcam {

/// With an empty path the text goes into the trace only, with "-" to standard output too. False
/// when the file cannot be made.
bool openConsole(const std::string &path);

/// Hand what is buffered to the file.
void flushConsole();

} // namespace vcam
