// Diagnostics on standard output. Their texts are part of the interface: tools read them.
//
// A trace is a function name and a source line, without a line end, and a second message. The forms
// with a name serve helpers of a function that the text names, and numbers that it fixes.
#pragma once

#include <stdio.h> // IWYU pragma: export

#define TRACE_PREFIX_OF(function, line) printf("_Fun:%s Line:%d ", (function), (line))

/// A trace whose second message is a fixed text; puts() adds a line end to the text's own.
#define TRACE_TEXT_OF(function, text)                                                              \
    do {                                                                                           \
        TRACE_PREFIX_OF(function, __LINE__);                                                       \
        puts(text);                                                                                \
    } while (0)

/// A trace whose second message is formatted.
#define TRACE_FORMAT_OF(function, ...)                                                             \
    do {                                                                                           \
        TRACE_PREFIX_OF(function, __LINE__);                                                       \
        printf(__VA_ARGS__);                                                                       \
    } while (0)

#define TRACE_TEXT(text)  TRACE_TEXT_OF(__func__, text)
#define TRACE_FORMAT(...) TRACE_FORMAT_OF(__func__, __VA_ARGS__)
