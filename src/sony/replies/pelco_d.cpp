#include "sony/replies/pelco_d.h"

#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "autofocus/types.h"
#include "sony/replies/frames.h"
#include "sony/replies/lens_state.h"
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

static int started = -1; // ticket of the drive
static unsigned int stopOfStarted = CMD_NONE;

static int drive(unsigned int command) {
    cancelDirectOrders();
    return placeOrder(makeContent(command, 0), kAsCommand);
}

// Bits for the pan, the tilt and the iris are somebody else's.
static void obeyDrive(unsigned int bits) {
    for (const Drive &row : kDrives)
        if ((bits & row.bit) != 0) {
            started = drive(row.command);
            stopOfStarted = row.stop;
            return;
        }
    if (started == lastTicket()) // nobody has ordered anything else since
        drive(stopOfStarted);
}

static void answerZoom() {
    static unsigned char answer[kPelcoFrame] = {kFrameEnd, kAddress, 0, kZoomAnswer};
    const unsigned int position = positions16();
    answer[4] = position >> 8 & 0xFF;
    answer[5] = position & 0xFF;
    answer[6] = static_cast<unsigned char>(kAddress + kZoomAnswer + answer[4] + answer[5]);
    sendBytes(answer, kPelcoFrame);
}

static void obeyExtended(unsigned char command, unsigned int number) {
    if (command == kQueryZoom)
        answerZoom();
    else if (command == kSetPreset)
        orderSilently(makeContent(CMD_SPST, number));
    else if (command == kClearPreset)
        orderSilently(makeContent(CMD_CLPST, number));
    else if (command == kCallPreset)
        orderSilently(makeContent(CMD_CAPST, number));
}

void obeyPelcoD(const unsigned char *frame) {
    if (frame[1] != kAddress)
        return;
    if ((frame[3] & kExtended) != 0)
        obeyExtended(frame[3], frame[5]);
    else
        obeyDrive(static_cast<unsigned int>(frame[2] << 8 | frame[3]));
}
