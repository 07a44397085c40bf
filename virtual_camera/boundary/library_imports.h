// Replaces what one loaded library imports, and leaves everybody else's calls alone: for calls
// such as calloc that the program, its sanitizer and libc itself must be able to rely on.
#pragma once

namespace vcam {

/// Lead the library's calls of @p symbol to @p replacement. False when no library of that file name
/// is loaded or it does not import the symbol. No other thread may be making such a call.
bool replaceImport(const char *libraryName, const char *symbol, void *replacement);

} // namespace vcam
