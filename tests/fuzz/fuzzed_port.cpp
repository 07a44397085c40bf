#include "fuzzed_port.h"

#include "autofocus_service.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/select.h>
#include <unistd.h>

namespace fuzzed {

constexpr unsigned kNothingStored = 0xFFFFFFFF; // neither a command nor a position of 16 bits
constexpr size_t kMostSent = 1 << 20;

static const uint8_t *toRead;
static size_t leftToRead;
static bool wasQuiet;
static uint8_t sent[kMostSent];
static size_t sentCount;
static Lens_ShaPos_ST record;
static int64_t clockMs = 1000;
static int silenceMs;

void beginRun(const uint8_t *bytes, size_t size) {
    toRead = bytes;
    leftToRead = size;
    wasQuiet = false;
    sentCount = 0;
    silenceMs = 0;
    record = {kNothingStored, kNothingStored, 0x1234, 0xABCD};
    g_ShaPosInfo = &record;
    InitUsartFd(kPort);
}

void require(bool holds, const char *what) {
    if (holds)
        return;
    fprintf(stderr, "violated: %s\n", what);
    abort();
}

bool hasStored() {
    return record.shCommand != kNothingStored;
}

size_t sentSize() {
    return sentCount;
}

const uint8_t *sentBytes() {
    return sent;
}

void fallSilentFor(int ms) {
    silenceMs = ms;
}

/// 90 50 02 FF, or 90 50 with the zoom or the focus position in four nibbles and FF.
static size_t replyLengthAt(const uint8_t *reply, size_t size) {
    if (size >= 4 && reply[2] == 0x02 && reply[3] == 0xFF)
        return 4;
    require(size >= 7 && reply[6] == 0xFF, "a reply ends with its terminator");
    const int position = reply[2] << 12 | reply[3] << 8 | reply[4] << 4 | reply[5];
    require(position == record.shRZPosition || position == record.shRFPosition,
            "a reply carries a position");
    return 7;
}

void requireSoundPort() {
    const unsigned stored = record.shCommand;
    const bool isOfSerialPort =
        (stored <= CMD_FAR) || stored == CMD_FOCUS || stored == CMD_DZF || stored == CMD_FSTOP;
    require(!hasStored() || isOfSerialPort, "the command is one of the serial port's");
    require(record.shValue == kNothingStored || record.shValue <= 0xFFFF, "a position has 16 bits");
    require(stored != CMD_DZF || record.shValue != kNothingStored, "a direct zoom has a position");
    for (size_t at = 0; at < sentCount;) {
        require(sentCount - at >= 4 && sent[at] == 0x90 && sent[at + 1] == 0x50, "a reply's head");
        at += replyLengthAt(sent + at, sentCount - at);
    }
}

} // namespace fuzzed

extern "C" {

ssize_t __real_read(int descriptor, void *bytes, size_t size);
ssize_t __real_write(int descriptor, const void *bytes, size_t size);

/// A few bytes at a time, as a slow line would have them, and now and then nothing at all.
ssize_t __wrap_read(int descriptor, void *bytes, size_t size) {
    using namespace fuzzed;
    if (descriptor != kPort)
        return __real_read(descriptor, bytes, size);
    if (leftToRead == 0) {
        *static_cast<uint8_t *>(bytes) = 0xFF;
        return 1;
    }
    size_t count = *toRead % 8;
    wasQuiet = count == 0 && !wasQuiet;
    if (wasQuiet)
        return 0;
    count = count == 0 ? 1 : count;
    count = count < size ? count : size;
    count = count < leftToRead ? count : leftToRead;
    for (size_t i = 0; i < count; ++i)
        static_cast<uint8_t *>(bytes)[i] = toRead[i];
    toRead += count;
    leftToRead -= count;
    return static_cast<ssize_t>(count);
}

ssize_t __wrap_write(int descriptor, const void *bytes, size_t size) {
    using namespace fuzzed;
    if (descriptor != kPort)
        return __real_write(descriptor, bytes, size);
    require(sentCount + size <= kMostSent, "the port is not flooded");
    for (size_t i = 0; i < size; ++i)
        sent[sentCount++] = static_cast<const uint8_t *>(bytes)[i];
    return static_cast<ssize_t>(size);
}

/// Readable while there are bytes; then it fails, which ends the serial thread.
int __wrap_select(int, fd_set *, fd_set *, fd_set *, struct timeval *timeout) {
    using namespace fuzzed;
    if (leftToRead > 0)
        return 1;
    if (silenceMs <= 0)
        return -1;
    const int64_t waitedMs = timeout->tv_sec * 1000 + timeout->tv_usec / 1000;
    clockMs += waitedMs;
    silenceMs -= static_cast<int>(waitedMs);
    return 0;
}

int __wrap_clock_gettime(clockid_t, struct timespec *now) {
    now->tv_sec = static_cast<time_t>(fuzzed::clockMs / 1000);
    now->tv_nsec = static_cast<long>(fuzzed::clockMs % 1000 * 1000000);
    return 0;
}

int __wrap_usleep(useconds_t) {
    return 0;
}

int __wrap_pthread_detach(pthread_t) {
    return 0;
}
}
