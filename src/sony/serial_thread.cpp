// The serial thread: cuts the host's port into frames and hands each to its command set, or leaves
// that to replies/ where they are switched on. It runs until select fails.
#include "autofocus/host/settings_table.h"
#include "autofocus/serial_protocol.h"
#include "autofocus_control.h"
#include "platform/library_thread.h"
#include "platform/select_readable.h"
#include "platform/shared_word.h"
#include "sony/framing.h"
#include "sony/replies/frames.h"
#include "sony/replies/port.h"
#include "sony/replies/replier.h"

#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

static const int kBufferSize = 32;
static const long kSelectUs = 3000000;
static const useconds_t kQuietPortUs = 10000;
static const useconds_t kDeadPortUs = 1000000;
static const unsigned char kPelcoAddress = 0x01;
static const char kSelectFailed[] = "SonyViscaProtocol select() call";

enum PortState { kPortReadable, kPortQuiet, kPortFailed };

static PortState waitForPort(int fd) {
    const int ready = selectReadable(fd, kSelectUs);
    if (ready < 0) {
        perror(kSelectFailed);
        return kPortFailed;
    }
    return ready > 0 ? kPortReadable : kPortQuiet;
}

// The rest of a frame, however long the port stays quiet in its middle.
static void readMissing(int fd, char *data, int missing) {
    while (missing > 0) {
        const int count = RecvVISCACmd(fd, data, missing);
        if (count == 0) {
            puts("RecvVISCACmd continue.");
            usleep(kQuietPortUs);
            continue;
        }
        data += count;
        missing -= count;
    }
}

static void processFrame(char *buffer, int length, int type) {
    unsigned char *frame = reinterpret_cast<unsigned char *>(buffer);
    if (type == kPelcoD)
        PelcodProcess(frame, length);
    else
        SonyViscaProcess(frame, length);
}

// A port that was hung up is readable for ever and has nothing: it is looked at less and less
// often, and every 10 ms again once a look has found a byte.
static void restWhileDead(int found, useconds_t *pauseUs) {
    if (found == 0)
        usleep(*pauseUs);
    const useconds_t longer = *pauseUs < kDeadPortUs / 2 ? 2 * *pauseUs : kDeadPortUs;
    *pauseUs = found == 0 ? longer : kQuietPortUs;
}

static void serveFrame(int fd, useconds_t *pauseUs) {
    char buffer[kBufferSize];
    memset(buffer, 0, sizeof buffer);
    const int started = RecvVISCACmd(fd, buffer, kFrameStart);
    if (started < kFrameStart)
        PrintfVISCA(buffer, started);
    restWhileDead(started, pauseUs);
    if (started < kFrameStart)
        return;
    int type = kViscaGeneral;
    const int due = CheckVISCACmd(buffer, kFrameStart, &type);
    if (due < 0) {
        PrintfVISCA(buffer, kFrameStart);
        return;
    }
    int length = kFrameStart + due;
    readMissing(fd, buffer + kFrameStart, due);
    const bool terminated = static_cast<unsigned char>(buffer[length - 1]) == kTerminator;
    if (type == kViscaDirect && !terminated) {
        readMissing(fd, buffer + length, kFrameExtension);
        length += kFrameExtension;
    }
    processFrame(buffer, length, type);
}

static void serve(int fd) {
    useconds_t pauseUs = kQuietPortUs;
    for (PortState state = kPortQuiet; state != kPortFailed;) {
        state = waitForPort(fd);
        if (state == kPortReadable)
            serveFrame(fd, &pauseUs);
    }
}

// Pelco-D that is not answered comes back from there.
static void serveWithReplies(int fd) {
    openPort(fd);
    while (unsigned char *frame = answerUntilPelcoD(fd)) {
        if (frame[1] == kPelcoAddress) // as framing.cpp has it
            PelcodProcess(frame, kPelcoFrame);
    }
    perror(kSelectFailed);
}

void *SonyViscaProtocol(void *) {
    pthread_detach(pthread_self());
    enterLibraryThread();
    const int fd = loadWord(&Usart1_fd);
    if (fd < 0) {
        printf("__%s____ create failure ____\n", __func__);
    } else {
        printf("__%s____ create success____\n", __func__);
        if (settingOf(AF_SETTING_SERIAL_REPLIES) == 0)
            serve(fd);
        else
            serveWithReplies(fd);
    }
    printf("\n\n\n\n__%s____ Quit ____\n\n\n\n", __func__);
    return nullptr;
}
