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
    vprintf(format, values);
    va_end(values);
}
