// Files that people are told of are whole, or the demo says what is in the way.
#pragma once

#include <cerrno>
#include <cstdio>

namespace demo {

/// Close @p file; false, with errno, when a part of what was written is not in it.
inline bool closeWhole(FILE *file) {
    bool isWhole = fflush(file) == 0 && ferror(file) == 0;
    const int error = errno;
    isWhole = fclose(file) == 0 && isWhole;
    if (!isWhole && error != 0)
        errno = error;
    return isWhole;
}

} // namespace demo
