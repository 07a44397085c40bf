// The VISCA command set: camera 1, category 4. Commands get no acknowledge and no completion; only
// the three inquiries are answered. Runs on the serial thread.
#include "af_lens/model/mailbox.h"
#include "autofocus.h"
#include "autofocus/callbacks.h"
#include "autofocus/host/settings.h"
#include "autofocus/serial_protocol.h"
#include "autofocus/types.h"
#include "platform/shared_word.h"
#include "sony/framing.h"

#include <stdio.h>
#include <string.h>
#include <unistd.h>

static const unsigned char kCategoryCamera = 0x04;

enum ViscaCommand : unsigned char {
    kIcr = 0x01,
    kZoom = 0x07,
    kFocus = 0x08,
    kOnePush = 0x18,
    kFocusMode = 0x38,
    kZoomPosition = 0x47,
    kFocusPosition = 0x48,
    kAutoIcr = 0x51,
};

static const unsigned char kStop = 0x00;
static const unsigned char kOn = 0x02;  // also tele, far, auto
static const unsigned char kOff = 0x03; // also wide, near, manual
static const unsigned char kTrigger = 0x01;
static const unsigned char kToggle = 0x10;

static const int kShortestFrame = 5;
static const int kDirectFrame = 9;
static const int kPositionAt = 4; // index of the first nibble
static const int kReplySize = 16;
static const useconds_t kLetThreadSeeUs = 50000; // one poll of the lens-control thread

namespace {
struct Reply {
    unsigned char bytes[kReplySize];
    int length;
};
} // namespace

// ---- Inquiries ----

static void answer(Reply *reply, const unsigned char *payload, int count) {
    reply->bytes[0] = 0x90;
    reply->bytes[1] = 0x50;
    memcpy(reply->bytes + 2, payload, static_cast<size_t>(count));
    reply->bytes[2 + count] = kTerminator;
    reply->length = count + 3;
}

static void answerPosition(Reply *reply, unsigned short position) {
    const unsigned char nibbles[4] = {
        static_cast<unsigned char>((position >> 12) & 0xF),
        static_cast<unsigned char>((position >> 8) & 0xF),
        static_cast<unsigned char>((position >> 4) & 0xF),
        static_cast<unsigned char>(position & 0xF),
    };
    answer(reply, nibbles, 4);
}

static void answerZoomPosition(Reply *reply) {
    unsigned short position = 0; // stays 0 before start-up
    lensGetZMapPosition(&position);
    printf("\n\n____CAM_ZoomPosInq 0x%04x____\n", position);
    answerPosition(reply, position);
}

static void answerFocusPosition(Reply *reply) {
    puts("\n\n____CAM_FocusPosInq____\n");
    unsigned short position = 0;
    lensGetFMapPosition(&position);
    answerPosition(reply, position);
}

static void answerInquiry(unsigned char inquiry, Reply *reply) {
    static const unsigned char kAutoFocus[1] = {0x02};
    switch (inquiry) {
    case kFocusMode:
        answer(reply, kAutoFocus, 1); // whatever the mode
        break;
    case kZoomPosition:
        answerZoomPosition(reply);
        break;
    case kFocusPosition:
        answerFocusPosition(reply);
        break;
    default:
        break;
    }
}

// ---- Commands ----

// A parameter as such, or with a speed in the low nibble, which is ignored.
static bool isStandardOrSpeed(unsigned char parameter, unsigned char code) {
    return parameter == code || (parameter >> 4) == code;
}

static void switchIcr(unsigned char parameter) {
    if (loadWord(&icr_control_mode) != TYPE_OUTCONTROL)
        return;
    if (parameter == kOn) {
        puts("\n\n____CAM_ICR On____\n");
        fCallbackSetIcutMode(TYPE_NIGHT);
    } else if (parameter == kOff) {
        puts("\n\n____CAM_ICR Off____\n");
        fCallbackSetIcutMode(TYPE_DAY);
    }
}

static void driveZoom(unsigned char parameter) {
    if (parameter == kStop) {
        puts("\n\n____CAM_Zoom Stop____\n");
        Lens_Set_Command(CMD_ZSTOP);
    } else if (isStandardOrSpeed(parameter, kOn)) {
        printf("\n\n____CAM_Zoom Tele(Standard) cmd: 0x%02x____\n\n", parameter);
        Lens_Set_Command(CMD_TELE);
    } else if (isStandardOrSpeed(parameter, kOff)) {
        printf("\n\n____CAM_Zoom Wide(Standard) cmd: 0x%02x____\n\n", parameter);
        Lens_Set_Command(CMD_WIDE);
    }
}

static void driveFocus(unsigned char parameter) {
    if (parameter == kStop) {
        puts("\n\n____CAM_Focus Stop____\n");
        Lens_Set_Command(CMD_FSTOP);
    } else if (isStandardOrSpeed(parameter, kOn)) {
        printf("\n\n____CAM_Focus Far(Standard) cmd = 0x%02x____\n\n", parameter);
        Lens_Set_Command(CMD_FAR);
    } else if (isStandardOrSpeed(parameter, kOff)) {
        puts("\n\n____CAM_Focus Near(Standard)____\n");
        Lens_Set_Command(CMD_NEAR);
    }
}

static void triggerOnePush(unsigned char parameter) {
    if (parameter != kTrigger)
        return;
    puts("\n\n____One Push Trigger____\n");
    usleep(kLetThreadSeeUs);
    Lens_Set_Command(CMD_FOCUS);
}

static void acknowledgeFocusMode(unsigned char parameter) {
    if (parameter == kOn)
        puts("\n\n____Auto Focus____\n");
    else if (parameter == kOff)
        puts("\n\n____Manual Focus____\n");
    else if (parameter == kToggle)
        puts("\n\n____Auto/Manual____\n");
}

static void acknowledgeAutoIcr(unsigned char parameter) {
    if (parameter == kOn)
        puts("\n\n____CAM_AutoICR On____\n");
    else if (parameter == kOff)
        puts("\n\n____CAM_AutoICR Off____\n");
}

// Four nibbles, combined as they come: a byte above 0x0F overlaps the next one.
static unsigned short readPosition(const unsigned char *nibbles) {
    return static_cast<unsigned short>(
        (nibbles[0] * 4096 + nibbles[1] * 256 + nibbles[2] * 16 + nibbles[3]) & 0xFFFF);
}

static void zoomDirectly(const unsigned char *buf) {
    const unsigned short position = readPosition(buf + kPositionAt);
    printf("\n\n____Direct Zoom Position 0x%04x____\n\n", position);
    lensDirectZPosition(CMD_DZF, position);
    usleep(kLetThreadSeeUs);
}

static void noteDirectFocus(const unsigned char *buf) {
    puts("\n\n____Direct Focus Position____\n");
    printf("____fPos: 0x%04x____\n", readPosition(buf + kPositionAt));
}

static void obeyCommand(const unsigned char *buf, int len) {
    const unsigned char parameter = buf[kPositionAt];
    switch (buf[3]) {
    case kIcr:
        switchIcr(parameter);
        break;
    case kZoom:
        driveZoom(parameter);
        break;
    case kFocus:
        driveFocus(parameter);
        break;
    case kOnePush:
        triggerOnePush(parameter);
        break;
    case kFocusMode:
        acknowledgeFocusMode(parameter);
        break;
    case kZoomPosition:
        if (len >= kDirectFrame)
            zoomDirectly(buf);
        break;
    case kFocusPosition:
        if (len >= kDirectFrame)
            noteDirectFocus(buf);
        break;
    case kAutoIcr:
        acknowledgeAutoIcr(parameter);
        break;
    default:
        break;
    }
}

// ---- A whole frame ----

int SonyViscaProcess(unsigned char *buf, int len) {
    const bool wellFormed = len > 0 && buf[0] == kViscaHeader && buf[len - 1] == kTerminator;
    if (!wellFormed) {
        PrintfVISCA(reinterpret_cast<char *>(buf), len);
        return -1;
    }
    Reply reply = {};
    const bool forCamera = len >= kShortestFrame && buf[2] == kCategoryCamera;
    if (forCamera && buf[1] == kViscaInquiry)
        answerInquiry(buf[3], &reply);
    else if (forCamera && buf[1] == kViscaCommand)
        obeyCommand(buf, len);
    if (reply.length == 0)
        return 0;
    const ssize_t written =
        write(loadWord(&Usart1_fd), reply.bytes, static_cast<size_t>(reply.length));
    if (written != reply.length) {
        printf("__%s__write sendBuf failure__\n", __func__);
        return -1;
    }
    return 0;
}
