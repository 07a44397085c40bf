// The Pelco-D command set: zoom, focus and stop for address 1. It never replies. Runs on the serial
// thread.
#include "af_lens/model/mailbox.h"
#include "autofocus/serial_protocol.h"
#include "autofocus/types.h"

static const int kFrameLength = 7;
static const unsigned char kFocusNear = 0x01; // command 1
static const unsigned char kZoomTele = 0x20;  // command 2 from here on
static const unsigned char kZoomWide = 0x40;
static const unsigned char kFocusFar = 0x80;

// Which motor the last move command started: a stop does not say.
enum StartedMotor { kNoMotor = 0, kFocusMotor = 1, kZoomMotor = 2 };

static int flagctr = kNoMotor;

static bool isChecksumRight(const unsigned char *buf, int len) {
    unsigned int sum = 0;
    for (int i = 1; i < kFrameLength - 1; ++i)
        sum += buf[i];
    return (sum & 0xFF) == buf[len - 1];
}

static void start(StartedMotor motor, AF_CMD_em command) {
    flagctr = motor;
    Lens_Set_Command(command);
}

static void stop() {
    if (flagctr == kFocusMotor)
        Lens_Set_Command(CMD_FSTOP);
    else if (flagctr == kZoomMotor)
        Lens_Set_Command(CMD_ZSTOP);
    flagctr = kNoMotor;
}

// Bytes are compared whole: a frame that adds another bit to a known command is ignored.
int PelcodProcess(unsigned char *buf, int len) {
    if (len < kFrameLength || !isChecksumRight(buf, len)) {
        PrintfVISCA(reinterpret_cast<char *>(buf), len);
        return -1;
    }
    const unsigned char command1 = buf[2];
    const unsigned char command2 = buf[3];
    const bool noData = buf[4] == 0 && buf[5] == 0;
    if (command1 == kFocusNear)
        start(kFocusMotor, CMD_NEAR);
    else if (command1 != 0)
        return 0;
    else if (command2 == kZoomTele)
        start(kZoomMotor, CMD_TELE);
    else if (command2 == kZoomWide)
        start(kZoomMotor, CMD_WIDE);
    else if (command2 == kFocusFar)
        start(kFocusMotor, CMD_FAR);
    else if (command2 == 0 && noData)
        stop();
    return 0;
}
