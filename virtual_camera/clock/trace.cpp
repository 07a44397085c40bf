#include "clock/trace.h"

#include "clock/next_call.h"
#include "clock/thread_table.h"
#include "clock/unobserved.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace vcam {

// Two halves: one is filled while the other keeps the lines before it, so that there is a tail
// even right after a change of halves. A half goes to the file when it is full.
static constexpr size_t kHalfSize = size_t{128} * 1024;
static constexpr size_t kLongestLine = 2048;

namespace {
struct Half {
    char text[kHalfSize];
    size_t length;
    size_t flushed;
};
} // namespace

static Half halves[2];
static int filling;
static std::string traceFile;
static int traceFd = -1;
static bool isOpen;
static int writeError; // what kept a part of it from the file
static std::vector<std::string> violationTexts;

static NextCall<int(const char *, int, ...)> nextOpen{"open"};
static NextCall<ssize_t(int, const void *, size_t)> nextWrite{"write"};
static NextCall<int(int)> nextClose{"close"};

bool openTrace(const std::string &path) {
    const Unobserved unobserved;
    isOpen = true;
    traceFile = path;
    if (path.empty())
        return true;
    traceFd = nextOpen(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    return traceFd >= 0;
}

const std::string &tracePath() {
    return traceFile;
}

static void flushHalf(Half &half) {
    while (traceFd >= 0 && half.flushed < half.length) {
        const ssize_t written =
            nextWrite(traceFd, half.text + half.flushed, half.length - half.flushed);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0) {
            writeError = written < 0 ? errno : EIO;
            return;
        }
        half.flushed += static_cast<size_t>(written);
    }
}

bool flushTrace() {
    const Unobserved unobserved;
    flushHalf(halves[filling]);
    errno = writeError;
    return writeError == 0;
}

bool closeTrace() {
    flushTrace();
    if (traceFd >= 0 && nextClose(traceFd) != 0 && writeError == 0)
        writeError = errno;
    traceFd = -1;
    return flushTrace();
}

static Half &findRoom() {
    if (halves[filling].length + kLongestLine > kHalfSize) {
        flushHalf(halves[filling]);
        filling = 1 - filling;
        halves[filling].length = 0;
        halves[filling].flushed = 0;
    }
    return halves[filling];
}

static char *appendWord(char *at, const char *word) {
    while (*word != '\0')
        *at++ = *word++;
    *at++ = ' ';
    return at;
}

static char *appendTime(char *at, int64_t timeUs) {
    char digits[24];
    int count = 0;
    do {
        digits[count++] = static_cast<char>('0' + timeUs % 10);
        timeUs /= 10;
    } while (timeUs != 0);
    while (count > 0)
        *at++ = digits[--count];
    *at++ = ' ';
    return at;
}

__attribute__((format(printf, 3, 0))) static void addLine(const char *device, const char *event,
                                                          const char *format, va_list arguments) {
    if (!isOpen)
        return;
    Half &half = findRoom();
    char *start = half.text + half.length;
    char *at = appendTime(start, threadTable.nowUs);
    at = appendWord(at, currentThread != nullptr ? currentThread->name : "-");
    at = appendWord(at, device);
    at = appendWord(at, event);
    const size_t room = kLongestLine - static_cast<size_t>(at - start);
    const int length = vsnprintf(at, room, format, arguments);
    const size_t kept = length <= 0 ? 0 : static_cast<size_t>(length);
    at += kept < room ? kept : room - 1;
    if (kept == 0)
        at--; // the space before a text that is not there
    *at++ = '\n';
    half.length += static_cast<size_t>(at - start);
}

void trace(const char *device, const char *event, const char *format, ...) {
    const Unobserved unobserved;
    va_list arguments;
    va_start(arguments, format);
    addLine(device, event, format, arguments);
    va_end(arguments);
}

void recordViolation(const char *device, const char *format, ...) {
    const Unobserved unobserved;
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, sizeof(text), format, arguments);
    va_end(arguments);
    trace(device, "violation", "%s", text);
    violationTexts.push_back(std::to_string(threadTable.nowUs) + " " + device + " " + text);
}

int violationCount() {
    return static_cast<int>(violationTexts.size());
}

const std::vector<std::string> &violations() {
    return violationTexts;
}

/// Where the last @p lineCount lines of the half begin; takes off the count what it finds.
static size_t findTail(const Half &half, int &lineCount) {
    size_t at = half.length;
    for (; at > 0; --at) {
        if (half.text[at - 1] == '\n' && at != half.length && --lineCount == 0)
            break;
    }
    return at;
}

void writeTraceTail(int descriptor, int lineCount) {
    const Unobserved unobserved;
    const Half &older = halves[1 - filling];
    const Half &newer = halves[filling];
    const size_t newerStart = findTail(newer, lineCount);
    const size_t olderStart = lineCount > 0 ? findTail(older, lineCount) : older.length;
    nextWrite(descriptor, older.text + olderStart, older.length - olderStart);
    nextWrite(descriptor, newer.text + newerStart, newer.length - newerStart);
}

} // namespace vcam
