#include "sony/replies/visca.h"

#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "af_orders/ledger.h"
#include "autofocus.h"
#include "autofocus/callbacks.h"
#include "autofocus/settings.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "autofocus_control.h"
#include "platform/shared_word.h"
#include "sony/replies/frames.h"
#include "sony/replies/port.h"
#include "sony/replies/sockets.h"

#include <string.h>

static const unsigned char kToCamera1 = 0x81;
static const unsigned char kToAll = 0x88;
static const unsigned char kCommand = 0x01;
static const unsigned char kInquiry = 0x09;
static const unsigned char kCancel = 0x20; // and the socket
static const int kCancelFrame = 3;
static const int kShortestFrame = 5;

static const unsigned char kZoom = 0x07; // drives, whose speed is ignored
static const unsigned char kFocus = 0x08;

static void refuseSyntax() {
    sendError(0, kSyntaxError);
}

// ---- Commands

enum Act : unsigned char {
    kAnswerOnly,
    kDrive,    // at once, in the place of every direct order
    kFilter,   // of infra-red light
    kTrigger,  // refocusing by itself
    kOrder,    // a direct order, perhaps with the number of a preset
    kPosition, // a direct order with a position or two
    kClear,
};

static const unsigned char kNo = 0;
static const unsigned char kYes = 1;
static const unsigned char kOther = 2;  // than it was
static const unsigned char kAny = 0xFE; // no byte of a frame

namespace {
struct Row {
    unsigned char category;
    unsigned char command;
    unsigned char parameter; // the terminator where there is none
    unsigned char length;    // of the whole frame
    Act act;
    unsigned char value;
};
} // namespace

static const Row kRows[] = {
    {0x00, 0x01, kFrameEnd, 5, kClear, 0},              // interface clear
    {0x04, 0x00, 0x02, 6, kAnswerOnly, kYes},           // power on
    {0x04, 0x00, 0x03, 6, kAnswerOnly, kNo},            // off
    {0x04, 0x01, 0x02, 6, kFilter, TYPE_NIGHT},         // infra-red filter away
    {0x04, 0x01, 0x03, 6, kFilter, TYPE_DAY},           // in
    {0x04, 0x07, 0x00, 6, kDrive, CMD_ZSTOP},           // zoom
    {0x04, 0x07, 0x02, 6, kDrive, CMD_TELE},            //
    {0x04, 0x07, 0x03, 6, kDrive, CMD_WIDE},            //
    {0x04, 0x08, 0x00, 6, kDrive, CMD_FSTOP},           // focus
    {0x04, 0x08, 0x02, 6, kDrive, CMD_FAR},             //
    {0x04, 0x08, 0x03, 6, kDrive, CMD_NEAR},            //
    {0x04, 0x18, 0x01, 6, kOrder, CMD_FOCUS},           // one push
    {0x04, 0x19, 0x01, 6, kOrder, CMD_RESET},           // initialise the lens
    {0x04, 0x38, 0x02, 6, kTrigger, kYes},              // autofocus on
    {0x04, 0x38, 0x03, 6, kTrigger, kNo},               // off
    {0x04, 0x38, 0x10, 6, kTrigger, kOther},            // toggle
    {0x04, 0x3F, 0x00, 7, kOrder, CMD_CLPST},           // memory reset
    {0x04, 0x3F, 0x01, 7, kOrder, CMD_SPST},            // set
    {0x04, 0x3F, 0x02, 7, kOrder, CMD_CAPST},           // recall
    {0x04, 0x47, kAny, 9, kPosition, kAsCommand},       // zoom direct
    {0x04, 0x47, kAny, 13, kPosition, kZoomAndFocusTo}, // zoom and focus direct
    {0x04, 0x48, kAny, 9, kPosition, kFocusTo},         // focus direct
    {0x04, 0x51, 0x02, 6, kAnswerOnly, kNo},            // the filter by itself: the host's affair
    {0x04, 0x51, 0x03, 6, kAnswerOnly, kNo},            //
    {0x06, 0x04, kFrameEnd, 5, kOrder, CMD_RESET},      // home
};

// A drive's parameter as such, or with a speed in the low nibble.
static unsigned int parameterOf(const unsigned char *frame) {
    const unsigned int high = frame[4] >> 4u;
    const bool isDrive = frame[3] == kZoom || frame[3] == kFocus;
    return isDrive && (high == 2 || high == 3) ? high : frame[4];
}

static const Row *findRow(const unsigned char *frame, int length) {
    for (const Row &row : kRows)
        if (row.category == frame[2] && row.command == frame[3] && row.length == length &&
            (row.parameter == kAny || row.parameter == parameterOf(frame)))
            return &row;
    return nullptr;
}

static bool switchFilter(int mode) {
    return loadWord(&icr_control_mode) == TYPE_OUTCONTROL && fCallbackSetIcutMode(mode) == 0;
}

static bool switchTrigger(unsigned char value) {
    const bool isOn = value == kOther ? loadWord(&g_AutoCheckEnable) == 0 : value == kYes;
    storeWord(&g_AutoCheckEnable, isOn ? 1 : 0);
    return true;
}

static bool obeyAtOnce(const Row &row) {
    switch (row.act) {
    case kDrive:
        return placeOrder({row.value, 0}, kAsCommand) > 0;
    case kFilter:
        return switchFilter(row.value);
    case kTrigger:
        return switchTrigger(row.value);
    default: // kAnswerOnly
        return row.value == kYes;
    }
}

static bool readPosition(const unsigned char *nibbles, unsigned int *position) {
    bool isRight = true;
    for (int i = 0; i < 4; ++i) {
        isRight = isRight && nibbles[i] <= 0xF;
        *position = *position << 4 | nibbles[i];
    }
    return isRight;
}

static void orderPosition(const unsigned char *frame, OrderKind kind) {
    unsigned int first = 0;
    unsigned int second = 0;
    const bool isRight = readPosition(frame + 4, &first) &&
                         (kind != kZoomAndFocusTo || readPosition(frame + 8, &second));
    if (isRight)
        orderDirect({CMD_DZF, first | second << 16}, kind);
    else
        refuseSyntax();
}

static void clear() {
    sendReply(0x50, nullptr, 0);
    cancelDirectOrders();
}

static void obey(const unsigned char *frame, int length) {
    const Row *row = findRow(frame, length);
    if (row == nullptr) {
        refuseSyntax();
    } else if (row->act == kOrder) {
        orderDirect({row->value, length == 7 ? frame[5] : 0u}, kAsCommand);
    } else if (row->act == kPosition) {
        orderPosition(frame, static_cast<OrderKind>(row->value));
    } else if (row->act == kClear) {
        clear();
    } else {
        if (row->act == kDrive)
            cancelDirectOrders();
        const int socket = acknowledge();
        if (socket != 0)
            finish(socket, obeyAtOnce(*row));
    }
}

// ---- Inquiries

static const int kMostPayload = kLongestFrame - 3;

static void putPosition(unsigned char *nibbles, unsigned int position) {
    for (int i = 0; i < 4; ++i)
        nibbles[i] = (position >> (12 - 4 * i)) & 0xF;
}

static void putZoom(unsigned char *nibbles) {
    unsigned short position = 0; // stays 0 before start-up
    lensGetZMapPosition(&position);
    putPosition(nibbles, position);
}

static void putFocus(unsigned char *nibbles) {
    unsigned short position = 0;
    lensGetFMapPosition(&position);
    putPosition(nibbles, position);
}

// What moves: bit 0 the zoom, bit 1 the focus.
static unsigned char movingAxes() {
    static const unsigned char kAxes[] = {
        0, // AF_ACTIVITY_STOPPED
        3, // AF_ACTIVITY_STARTING
        0, // AF_ACTIVITY_IDLE
        1, // AF_ACTIVITY_ZOOMING
        2, // AF_ACTIVITY_FOCUSING
        2, // AF_ACTIVITY_AUTOFOCUS
        3, // AF_ACTIVITY_POSITIONING
        3, // AF_ACTIVITY_HOMING
        3, // AF_ACTIVITY_CALIBRATING
        3, // AF_ACTIVITY_STEPPING
    };
    return kAxes[readLedger().status.activity];
}

static bool refocusesByItself() {
    return loadWord(&g_AutoCheckEnable) != 0;
}

static void putLensBlock(unsigned char *payload) {
    putZoom(payload);
    payload[4] = 0x0C; // the focus at its near end, high half
    putFocus(payload + 6);
    payload[11] = refocusesByItself() ? 1 : 0;
    payload[12] = movingAxes();
}

// Vendor "OL", model 1, this set of commands, sockets.
static const unsigned char kVersion[] = {0x4F, 0x4C, 0x00, 0x01, 0x00, 0x01, 0x02};

static int answerOf(unsigned int inquiry, unsigned char *payload) {
    switch (inquiry) {
    case 0x0002:
        memcpy(payload, kVersion, sizeof kVersion);
        return sizeof kVersion;
    case 0x0400: // power
        payload[0] = 2;
        return 1;
    case 0x0438: // focus mode
        payload[0] = refocusesByItself() ? 2 : 3;
        return 1;
    case 0x0447:
        putZoom(payload);
        return 4;
    case 0x0448:
        putFocus(payload);
        return 4;
    case 0x7E7E:
        putLensBlock(payload);
        return kMostPayload;
    default:
        return 0;
    }
}

static void answerInquiry(const unsigned char *frame, int length) {
    unsigned char payload[kMostPayload] = {};
    const unsigned int inquiry = static_cast<unsigned int>(frame[2] << 8 | frame[3]);
    const bool isWhole = length == kShortestFrame || (inquiry == 0x7E7E && frame[4] == 0);
    const int count = isWhole ? answerOf(inquiry, payload) : 0;
    if (count == 0)
        refuseSyntax();
    else
        sendReply(0x50, payload, count);
}

// ---- A whole frame

// What goes round a line of cameras: numbering them, and clearing them all.
static void answerBroadcast(const unsigned char *frame, int length) {
    static const unsigned char kSetAddress[] = {0x88, 0x30, 0x01, 0xFF};
    static const unsigned char kNextAddress[] = {0x88, 0x30, 0x02, 0xFF};
    static const unsigned char kClearAll[] = {0x88, 0x01, 0x00, 0x01, 0xFF};
    if (length == sizeof kSetAddress && memcmp(frame, kSetAddress, sizeof kSetAddress) == 0) {
        sendBytes(kNextAddress, sizeof kNextAddress);
    } else if (length == sizeof kClearAll && memcmp(frame, kClearAll, sizeof kClearAll) == 0) {
        sendBytes(kClearAll, sizeof kClearAll);
        cancelDirectOrders();
    }
}

void answerVisca(const unsigned char *frame, int length) {
    if (frame[0] == kToAll)
        answerBroadcast(frame, length);
    else if (frame[0] != kToCamera1)
        return;
    else if (frame[1] == kCommand && length >= kShortestFrame)
        obey(frame, length);
    else if (frame[1] == kInquiry && length >= kShortestFrame)
        answerInquiry(frame, length);
    else if ((frame[1] & 0xF0) == kCancel && length == kCancelFrame)
        cancelSocket(frame[1] & 0x0F);
    else
        refuseSyntax();
}
