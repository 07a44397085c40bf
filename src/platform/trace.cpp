#include "platform/trace.h"

#include <stdarg.h>

void tracePrefix(const char *function, int line) {
    printf("_Fun:%s Line:%d ", function, line);
}

void traceText(const char *function, int line, const char *text) {
    tracePrefix(function, line);
    puts(text);
}

void traceFormat(const char *function, int line, const char *format, ...) {
    va_list values;
    tracePrefix(function, line);
    va_start(values, format);
    // Where one call of the tool looks at several files, it overlooks the line above.
    vprintf(format, values); // NOLINT(clang-analyzer-valist.Uninitialized)
    va_end(values);
}
