#include "sony/replies/pelco_d.h"

#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "autofocus/types.h"
#include "sony/replies/frames.h"
#include "sony/replies/port.h"
#include "sony/replies/sockets.h"

static const unsigned char kAddress = 0x01;
static const unsigned char kExtended = 0x01; // bit of command 2
static const unsigned char kSetPreset = 0x03;
static const unsigned char kClearPreset = 0x05;
static const unsigned char kCallPreset = 0x07;
static const unsigned char kQueryZoom = 0x55;
static const unsigned char kZoomAnswer = 0x5D;

namespace {
struct Drive {
    unsigned short bit; // of command 1 and 2
    unsigned char command;
    unsigned char stop;
};
} // namespace

// The first one counts.
static const Drive kDrives[] = {
    {0x0100, CMD_NEAR, CMD_FSTOP},
    {0x0020, CMD_TELE, CMD_ZSTOP},
    {0x0040, CMD_WIDE, CMD_ZSTOP},
    {0x0080, CMD_FAR, CMD_FSTOP},
};

static unsigned int stopOfStarted = CMD_NONE; // none is started

static void drive(unsigned int command, unsigned int stop) {
    cancelDirectOrders();
    placeOrder({command, 0}, kAsCommand);
    stopOfStarted = stop;
}

// Bits for the pan, the tilt and the iris are somebody else's.
static void obeyDrive(unsigned int bits) {
    for (const Drive &row : kDrives)
        if ((bits & row.bit) != 0) {
            drive(row.command, row.stop);
            return;
        }
    if (stopOfStarted != CMD_NONE)
        drive(stopOfStarted, CMD_NONE);
}

static void answerZoom() {
    unsigned short position = 0; // stays 0 before start-up
    lensGetZMapPosition(&position);
    const unsigned int high = position >> 8u;
    const unsigned int low = position & 0xFFu;
    const unsigned char answer[kPelcoFrame] = {
        kFrameEnd,
        kAddress,
        0,
        kZoomAnswer,
        static_cast<unsigned char>(high),
        static_cast<unsigned char>(low),
        static_cast<unsigned char>(kAddress + kZoomAnswer + high + low)};
    sendBytes(answer, kPelcoFrame);
}

static void obeyExtended(unsigned char command, unsigned int number) {
    switch (command) {
    case kSetPreset:
        orderSilently({CMD_SPST, number});
        break;
    case kClearPreset:
        orderSilently({CMD_CLPST, number});
        break;
    case kCallPreset:
        orderSilently({CMD_CAPST, number});
        break;
    case kQueryZoom:
        answerZoom();
        break;
    default:
        break;
    }
}

void obeyPelcoD(const unsigned char *frame) {
    if (frame[1] != kAddress)
        return;
    if ((frame[3] & kExtended) != 0)
        obeyExtended(frame[3], frame[5]);
    else
        obeyDrive(static_cast<unsigned int>(frame[2] << 8 | frame[3]));
}
