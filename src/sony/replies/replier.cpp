#include "sony/replies/replier.h"

#include "autofocus/host/settings_table.h"
#include "autofocus_control.h"
#include "platform/arithmetic.h"
#include "platform/monotonic_clock.h"
#include "platform/select_readable.h"
#include "sony/replies/frames.h"
#include "sony/replies/pelco_d.h"
#include "sony/replies/sockets.h"
#include "sony/replies/visca.h"

#include <string.h>
#include <unistd.h>

static const int kPelcoToo = 2; // value of the setting
static const long kIdleUs = 3000000;
static const long kTendUs = 10000;                     // while something is to be completed
static const unsigned int kLongestSilenceUs = 1000000; // inside a frame
static const int kMostWaits = 8;
static const useconds_t kDeadPortUs = 1000000;

static unsigned char received[kLongestFrame];
static int receivedCount = 0;
static int usedCount = 0;         // of them, which the next pass drops
static unsigned int silentUs = 0; // since the last byte, as long as somebody was listening
static useconds_t pauseUs = kTendUs;

static void drop(int count) {
    receivedCount -= count;
    memmove(received, received + count, static_cast<size_t>(receivedCount));
}

// A port that was hung up is readable for ever and has nothing: it is looked at less and less
// often.
static void restWhileDead() {
    usleep(pauseUs);
    pauseUs = minOf(2 * pauseUs, kDeadPortUs);
}

static void readPort(int fd) {
    const ssize_t count =
        read(fd, received + receivedCount, sizeof received - static_cast<size_t>(receivedCount));
    if (count <= 0) {
        restWhileDead();
        return;
    }
    receivedCount += static_cast<int>(count);
    silentUs = 0;
    pauseUs = kTendUs;
}

static bool isReadAgain(int fd, bool isBusy) {
    const unsigned int beginUs = monotonicUs();
    const int ready = selectReadable(fd, isBusy ? kTendUs : kIdleUs);
    silentUs += monotonicUs() - beginUs;
    if (silentUs >= kLongestSilenceUs)
        receivedCount = 0;
    if (receivedCount == 0)
        silentUs = 0;
    if (ready > 0)
        readPort(fd);
    return ready >= 0;
}

// What the buffer begins with.
static int measureFirst() {
    return receivedCount > 0 ? measureFrame(received, receivedCount) : 0;
}

// A frame that has to wait stays, and what comes meanwhile stays on the line.
// Its turn comes within three looks, unless the clock stands still: then it is dropped.
static void answerFirst(int length) {
    static int waits = 0;
    if (answerVisca(received, length) || ++waits > kMostWaits) {
        waits = 0;
        return;
    }
    usedCount = 0;
    usleep(kTendUs);
}

unsigned char *answerUntilPelcoD(int fd) {
    for (;;) {
        drop(usedCount);
        const bool isBusy = tendSockets();
        const int length = measureFirst();
        usedCount = length < 0 ? -length : length;
        if (length > 0 && received[0] != kFrameEnd) {
            answerFirst(length);
        } else if (length > 0) {
            if (settingOf(AF_SETTING_SERIAL_REPLIES) != kPelcoToo)
                return received;
            obeyPelcoD(received);
        } else if (length == 0 && !isReadAgain(fd, isBusy)) {
            return nullptr;
        }
    }
}
