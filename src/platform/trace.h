// Diagnostics on standard output. Their texts are part of the interface: tools read them.
//
// A trace is a function name and a source line, without a line end, and a second message. The forms
// with a name serve helpers of a function that the text names, and numbers that it fixes.
#pragma once

#include <stdio.h> // IWYU pragma: export

/// The first message.
void tracePrefix(const char *function, int line);

/// Both, the second a fixed text; puts() adds a line end to the text's own.
void traceText(const char *function, int line, const char *text);

/// Both, the second formatted.
__attribute__((format(printf, 3, 4))) void traceFormat(const char *function, int line,
                                                       const char *format, ...);

#define TRACE_TEXT_OF(function, text)  traceText(function, __LINE__, text)
#define TRACE_FORMAT_OF(function, ...) traceFormat(function, __LINE__, __VA_ARGS__)

#define TRACE_TEXT(text)  TRACE_TEXT_OF(__func__, text)
#define TRACE_FORMAT(...) TRACE_FORMAT_OF(__func__, __VA_ARGS__)
