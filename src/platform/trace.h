// Diagnostics on standard output. Their texts are part of the interface: tools read them.
#pragma once

#include <stdio.h>

/// Start a trace: function and source line, without a line end. A second message follows.
#define TRACE_PREFIX() TRACE_PREFIX_AT(__LINE__)

/// The same where the number is part of the text.
#define TRACE_PREFIX_AT(line) printf("_Fun:%s Line:%d ", __func__, (line))

/// A trace whose second message is a fixed text; puts() adds a line end to the text's own.
#define TRACE_TEXT(text)                                                                           \
    do {                                                                                           \
        TRACE_PREFIX();                                                                            \
        puts(text);                                                                                \
    } while (0)

/// A trace whose second message is formatted.
#define TRACE_FORMAT(...)                                                                          \
    do {                                                                                           \
        TRACE_PREFIX();                                                                            \
        printf(__VA_ARGS__);                                                                       \
    } while (0)
