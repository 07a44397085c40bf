#include "sony/framing.h"

#include "autofocus/serial_protocol.h"

static const unsigned char kBlockInquiry = 0x7E;
static const unsigned char kPelcoSync = 0xFF;
static const unsigned char kPelcoAddress = 0x01;

static const int kRejected = -1;

static int frameInquiry(const unsigned char *bytes) {
    if (bytes[2] == kBlockInquiry)
        return 1;
    return bytes[4] == kTerminator ? 0 : kRejected;
}

static int frameCommand(const unsigned char *bytes, int *type) {
    switch (bytes[3]) {
    case 0x73:
        *type = kViscaExtended;
        return 11;
    case 0x74:
        *type = kViscaExtended;
        return 1;
    case 0x47:
    case 0x48:
        *type = kViscaDirect;
        return 4;
    default:
        return 1;
    }
}

// char may be signed or not: bytes are compared as unsigned.
int CheckVISCACmd(char *data, int size, int *type) {
    const unsigned char *bytes = reinterpret_cast<const unsigned char *>(data);
    if (size < kFrameStart)
        return kRejected;
    if (bytes[0] == kViscaHeader) {
        *type = kViscaGeneral;
        if (bytes[1] == kViscaInquiry)
            return frameInquiry(bytes);
        return bytes[1] == kViscaCommand ? frameCommand(bytes, type) : kRejected;
    }
    if (bytes[0] == kPelcoSync && bytes[1] == kPelcoAddress) {
        *type = kPelcoD;
        return 2;
    }
    return kRejected;
}
