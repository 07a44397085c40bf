#include "boundary/console.h"

#include "boundary/faults.h"
#include "clock/next_call.h"
#include "clock/thread_table.h"
#include "clock/trace.h"
#include "clock/unobserved.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vcam {

static constexpr size_t kLongestLine = 512; // a longer one is split in the trace, not in the file
static constexpr unsigned char kFirstPrintable = ' ';

static FILE *file;
static int writeError; // what kept a part of the text from the file
static void (*takeLine)(const char *text, size_t length);
static char line[kLongestLine];
static size_t lineLength;

static NextCall<FILE *(const char *, const char *)> nextFopen{"fopen"};
static NextCall<int(const char *, va_list)> nextVprintf{"vprintf"};
static NextCall<int(const char *)> nextPuts{"puts"};
static NextCall<int(int)> nextPutchar{"putchar"};
static NextCall<int(int, FILE *)> nextPutc{"putc"};
static NextCall<void(const char *)> nextPerror{"perror"};

bool openConsole(const std::string &path) {
    if (path.empty())
        return true;
    file = path == "-" ? stdout : nextFopen(path.c_str(), "we");
    return file != nullptr;
}

static void noteError(bool isDone) {
    if (!isDone && writeError == 0)
        writeError = errno;
}

bool closeConsole() {
    const Unobserved unobserved;
    if (file != nullptr)
        noteError((file == stdout ? fflush(file) : fclose(file)) == 0);
    file = nullptr;
    errno = writeError;
    return writeError == 0;
}

void watchConsole(void (*take)(const char *text, size_t length)) {
    takeLine = take;
}

static void endLine() {
    if (takeLine != nullptr)
        takeLine(line, lineLength);
    trace("console", "line", "text=\"%.*s\"", static_cast<int>(lineLength), line);
    lineLength = 0;
}

static void addToLine(char letter) {
    if (letter == '\n' || lineLength == kLongestLine)
        endLine();
    if (letter == '\n')
        return;
    const auto code = static_cast<unsigned char>(letter); // UTF-8 stays as it is
    line[lineLength++] = code >= kFirstPrintable && letter != '"' ? letter : '.';
}

/// False when nothing can be printed.
static bool print(const char *text, size_t length) {
    const Unobserved unobserved;
    if (failsNow("printf", ""))
        return false;
    if (file != nullptr)
        noteError(fwrite(text, 1, length, file) == length);
    for (size_t i = 0; i < length; ++i)
        addToLine(text[i]);
    return true;
}

__attribute__((format(printf, 1, 0))) static int printFormatted(const char *format,
                                                                va_list arguments) {
    if (!isRegisteredThread())
        return nextVprintf(format, arguments);
    const Unobserved unobserved;
    char *text = nullptr;
    const int length = vasprintf(&text, format, arguments);
    if (length < 0)
        return length;
    const bool isPrinted = print(text, static_cast<size_t>(length));
    free(text);
    return isPrinted ? length : -1;
}

static int printLine(const char *text) {
    return print(text, strlen(text)) && print("\n", 1) ? 1 : EOF;
}

static int printLetter(int letter) {
    const char text = static_cast<char>(letter);
    return print(&text, 1) ? static_cast<unsigned char>(letter) : EOF;
}

/// The console of a camera shows both standard streams.
static void printError(const char *text) {
    const int error = errno;
    if (text != nullptr && *text != '\0') {
        print(text, strlen(text));
        print(": ", 2);
    }
    printLine(strerror(error));
}

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int printf(const char *__restrict format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vcam::printFormatted(format, arguments);
    va_end(arguments);
    return length;
}

int vprintf(const char *__restrict format, va_list arguments) {
    return vcam::printFormatted(format, arguments);
}

int __printf_chk(int, const char *__restrict format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int length = vcam::printFormatted(format, arguments);
    va_end(arguments);
    return length;
}

int __vprintf_chk(int, const char *__restrict format, va_list arguments) {
    return vcam::printFormatted(format, arguments);
}

int puts(const char *text) {
    return vcam::isRegisteredThread() ? vcam::printLine(text) : vcam::nextPuts(text);
}

int putchar(int letter) {
    return vcam::isRegisteredThread() ? vcam::printLetter(letter) : vcam::nextPutchar(letter);
}

/// What putchar becomes in an optimised build.
int putc(int letter, FILE *stream) {
    const bool isOurs = vcam::isRegisteredThread() && stream == stdout;
    return isOurs ? vcam::printLetter(letter) : vcam::nextPutc(letter, stream);
}

void perror(const char *text) {
    if (vcam::isRegisteredThread())
        vcam::printError(text);
    else
        vcam::nextPerror(text);
}
}
#pragma GCC visibility pop
