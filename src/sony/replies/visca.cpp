#include "sony/replies/visca.h"

#include "af_lens/model/mailbox.h"
#include "af_lens/model/orders.h"
#include "af_orders/ledger.h"
#include "autofocus.h"
#include "autofocus/callbacks.h"
#include "autofocus/settings.h"
#include "autofocus/statistics.h"
#include "autofocus/types.h"
#include "platform/shared_word.h"
#include "sony/replies/frames.h"
#include "sony/replies/lens_state.h"
#include "sony/replies/port.h"
#include "sony/replies/sockets.h"

#include <string.h>

static const unsigned char kToCamera1 = 0x81;
static const unsigned char kToAll = 0x88;
static const unsigned char kCommand = 0x01;
static const unsigned char kInquiry = 0x09;
static const unsigned char kSetAddress = 0x30;
static const unsigned char kCancel = 0x20; // and the socket
static const int kCancelFrame = 3;
static const int kAddressFrame = 4;
static const int kShortestFrame = 5; // of commands and inquiries
static const int kPresetFrame = 7;
static const int kPositionFrame = 9;
static const unsigned int kAnswerHead = 0x50;
static const unsigned char kZoom = 0x07; // drives
static const unsigned char kFocus = 0x08;
static const unsigned char kLensBlock = 0x7E;

// ---- Commands

enum Act : unsigned char {
    kAnswerOnly, // what is done anyway, or never
    kDrive,      // at once, in the place of every direct order
    kFilter,     // of infra-red light
    kTrigger,    // refocusing by itself
    kOrder,      // a direct order, perhaps with the number of a preset
    kPosition,   // a direct order with a position or two
    kClear,      // the sockets
};

static const unsigned char kNo = 0;
static const unsigned char kYes = 1;
static const unsigned char kOther = 2; // than it was

static const unsigned char kNone = kFrameEnd; // in the place of a parameter
static const unsigned char kNibbles = 0xFE;   // the same

namespace {
struct Row {
    unsigned char key[4]; // category, command, parameter, length of the frame
    Act act;
    unsigned char value;
};
} // namespace

static const Row kRows[] = {
    {{0x00, 0x01, kNone, 5}, kClear, 0},                      // interface clear
    {{0x04, 0x00, 0x02, 6}, kAnswerOnly, kYes},               // power on
    {{0x04, 0x00, 0x03, 6}, kAnswerOnly, kNo},                // off
    {{0x04, 0x01, 0x02, 6}, kFilter, TYPE_NIGHT},             // infra-red filter away
    {{0x04, 0x01, 0x03, 6}, kFilter, TYPE_DAY},               // in
    {{0x04, 0x07, 0x00, 6}, kDrive, CMD_ZSTOP},               // zoom
    {{0x04, 0x07, 0x02, 6}, kDrive, CMD_TELE},                //
    {{0x04, 0x07, 0x03, 6}, kDrive, CMD_WIDE},                //
    {{0x04, 0x08, 0x00, 6}, kDrive, CMD_FSTOP},               // focus
    {{0x04, 0x08, 0x02, 6}, kDrive, CMD_FAR},                 //
    {{0x04, 0x08, 0x03, 6}, kDrive, CMD_NEAR},                //
    {{0x04, 0x18, 0x01, 6}, kOrder, CMD_FOCUS},               // one push
    {{0x04, 0x19, 0x01, 6}, kOrder, CMD_RESET},               // initialise the lens
    {{0x04, 0x38, 0x02, 6}, kTrigger, kYes},                  // autofocus on
    {{0x04, 0x38, 0x03, 6}, kTrigger, kNo},                   // off
    {{0x04, 0x38, 0x10, 6}, kTrigger, kOther},                // toggle
    {{0x04, 0x3F, 0x00, 7}, kOrder, CMD_CLPST},               // memory reset
    {{0x04, 0x3F, 0x01, 7}, kOrder, CMD_SPST},                // set
    {{0x04, 0x3F, 0x02, 7}, kOrder, CMD_CAPST},               // recall
    {{0x04, 0x47, kNibbles, 9}, kPosition, kAsCommand},       // zoom direct
    {{0x04, 0x47, kNibbles, 13}, kPosition, kZoomAndFocusTo}, // zoom and focus direct
    {{0x04, 0x48, kNibbles, 9}, kPosition, kFocusTo},         // focus direct
    {{0x04, 0x51, 0x02, 6}, kAnswerOnly, kNo},                // the filter by itself: the host's
    {{0x04, 0x51, 0x03, 6}, kAnswerOnly, kNo},                //
    {{0x06, 0x04, kNone, 5}, kOrder, CMD_RESET},              // home
};

// A drive has its direction in the high nibble when the low one is a speed, which is ignored.
static unsigned char parameterOf(const unsigned char *frame, int length) {
    const bool isDrive = frame[3] == kZoom || frame[3] == kFocus;
    if (isDrive && (frame[4] & 0xE0) == 0x20)
        return frame[4] >> 4u;
    return length < kPositionFrame ? frame[4] : kNibbles;
}

static const Row *findRow(const unsigned char *frame, int length) {
    static unsigned char key[4]; // off the stack, as in port.cpp
    memcpy(key, frame + 2, 2);
    key[2] = parameterOf(frame, length);
    key[3] = static_cast<unsigned char>(length);
    for (const Row &row : kRows)
        if (memcmp(row.key, key, sizeof key) == 0)
            return &row;
    return nullptr;
}

static bool refocusesByItself() {
    return loadWord(&g_AutoCheckEnable) != 0;
}

static bool switchTrigger(unsigned char value) {
    const bool isOn = value == kOther ? !refocusesByItself() : value == kYes;
    storeWord(&g_AutoCheckEnable, isOn ? 1 : 0);
    return true;
}

static bool obeyAtOnce(const Row &row) {
    switch (row.act) {
    case kDrive:
        return placeOrder(makeContent(row.value, 0), kAsCommand) > 0;
    case kFilter:
        return loadWord(&icr_control_mode) == TYPE_OUTCONTROL &&
               fCallbackSetIcutMode(row.value) == 0;
    case kTrigger:
        return switchTrigger(row.value);
    default: // kAnswerOnly
        return row.value == kYes;
    }
}

// The zoom comes first on the line, and stands in the low half of an order's argument.
static bool orderPosition(const unsigned char *frame, int length, OrderKind kind) {
    unsigned int position = 0;
    for (int i = 4; i < length - 1; ++i) {
        if (frame[i] > 0xF) {
            sendError(0, kSyntaxError);
            return true;
        }
        position = position << 4 | frame[i];
    }
    if (kind == kZoomAndFocusTo)
        position = position >> 16 | position << 16;
    return orderDirect(makeContent(kind == kFocusTo ? CMD_FAR : CMD_DZF, position), kind);
}

static bool obeyNow(const Row &row) {
    if (!areCommandsTaken())
        return false;
    if (row.act == kDrive)
        cancelDirectOrders();
    const int socket = acknowledge();
    if (socket != 0)
        finish(socket, obeyAtOnce(row));
    return true;
}

static bool obey(const unsigned char *frame, int length) {
    const Row *row = findRow(frame, length);
    if (row == nullptr) {
        sendError(0, kSyntaxError);
    } else if (row->act == kOrder) {
        const unsigned int number = length == kPresetFrame ? frame[5] : 0;
        return orderDirect(makeContent(row->value, number), kAsCommand);
    } else if (row->act == kPosition) {
        return orderPosition(frame, length, static_cast<OrderKind>(row->value));
    } else if (row->act == kClear) {
        sendReply(kAnswerHead, nullptr, 0);
        cancelDirectOrders();
    } else {
        return obeyNow(*row);
    }
    return true;
}

// ---- Inquiries: each is answered by a part of all that the camera says of itself

static const int kFocusAt = 6;
static const int kModeBitAt = 11;
static const int kMovingAt = 12; // the last one of the lens block, which begins with the zoom
static const int kVersionAt = 13;
static const int kPowerAt = 20;
static const int kModeAt = 21;

static const unsigned char kManualMode = 3; // 2: autofocus

namespace {
struct Inquiry {
    unsigned char category;
    unsigned char code;
    unsigned char at;
    unsigned char count;
};
} // namespace

static const Inquiry kInquiries[] = {
    {0x00, 0x02, kVersionAt, 7}, //
    {0x04, 0x00, kPowerAt, 1},   //
    {0x04, 0x38, kModeAt, 1},    //
    {0x04, 0x47, 0, 4},          // zoom position
    {0x04, 0x48, kFocusAt, 4},   //
    {0x7E, 0x7E, 0, kVersionAt}, // lens block
};

static unsigned char said[] = {
    0,    0,    0,    0,                   // zoom
    0x0C, 0x00,                            // near end of the focus, high half
    0,    0,    0,    0,    0, 0,    0,    // focus, mode, what moves
    0x4F, 0x4C, 0x00, 0x01, 0, 0x01, 0x02, // vendor "OL", model 1, commands 1, sockets
    2,    0,                               // power on, mode
};

// Bit 0: the zoom, bit 1: the focus.
static const unsigned char kMovingAxes[] = {
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

static void sayPosition(int at, unsigned int position) {
    for (int i = 3; i >= 0; --i, position >>= 4)
        said[at + i] = position & 0xF;
}

static void sayAll() {
    const unsigned int positions = positions16();
    sayPosition(0, positions);
    sayPosition(kFocusAt, positions >> 16);
    said[kModeBitAt] = refocusesByItself() ? 1 : 0;
    said[kModeAt] = static_cast<unsigned char>(kManualMode - said[kModeBitAt]);
    said[kMovingAt] = kMovingAxes[presentActivity()];
}

static void answerInquiry(const unsigned char *frame, int length) {
    for (const Inquiry &row : kInquiries) {
        const bool isLong = row.category == kLensBlock;
        if (frame[2] == row.category && frame[3] == row.code &&
            frame[4] == (isLong ? 0 : kFrameEnd) && length == kShortestFrame + (isLong ? 1 : 0)) {
            sayAll();
            sendReply(kAnswerHead, said + row.at, row.count);
            return;
        }
    }
    sendError(0, kSyntaxError);
}

// ---- A whole frame

// What goes round a line of cameras: each takes a number and counts it up, and all are cleared.
static void answerBroadcast(unsigned char *frame, int length) {
    if (length == kAddressFrame && frame[1] == kSetAddress) {
        ++frame[2];
        sendBytes(frame, length);
    } else if (length == kShortestFrame && frame[1] == kCommand && frame[2] == 0 && frame[3] == 1) {
        sendBytes(frame, length);
        cancelDirectOrders();
    }
}

bool answerVisca(unsigned char *frame, int length) {
    if (frame[0] == kToCamera1 && frame[1] == kCommand && length >= kShortestFrame)
        return obey(frame, length);
    if (frame[0] == kToAll)
        answerBroadcast(frame, length);
    else if (frame[0] != kToCamera1)
        return true;
    else if (frame[1] == kInquiry && length >= kShortestFrame)
        answerInquiry(frame, length);
    else if ((frame[1] & 0xF0) == kCancel && length == kCancelFrame)
        cancelSocket(frame[1] & 0x0F);
    else
        sendError(0, kSyntaxError);
    return true;
}
