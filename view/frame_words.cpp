#include "frame_words.h"

#include <algorithm>

namespace view {

static constexpr uint8_t kEnd = 0xFF;
static constexpr uint8_t kFromCamera = 0x90;
static constexpr size_t kPelcoLength = 7;
static constexpr size_t kLongestVisca = 16;
static constexpr int kAny = -1;

namespace {
/// The bytes after the address, and what they say.
struct Words {
    std::vector<int> bytes; ///< kAny: any.
    const char *text;
};
} // namespace

// ---- Where a frame ends

/// A sync byte and six more, or anything up to VISCA's terminator.
size_t measureFrame(const Bytes &bytes) {
    if (bytes.empty())
        return 0;
    if (bytes[0] == kEnd)
        return bytes.size() < kPelcoLength ? 0 : kPelcoLength;
    const auto end = std::find(bytes.begin(), bytes.end(), kEnd);
    if (end == bytes.end())
        return bytes.size() < kLongestVisca ? 0 : kLongestVisca;
    return static_cast<size_t>(end - bytes.begin()) + 1;
}

// ---- From a controller

static bool isLike(const Bytes &frame, const Words &words) {
    if (frame.size() != words.bytes.size() + 2 || frame.back() != kEnd)
        return false;
    for (size_t i = 0; i < words.bytes.size(); ++i)
        if (words.bytes[i] != kAny && words.bytes[i] != frame[i + 1])
            return false;
    return true;
}

static int joinNibbles(const Bytes &frame, size_t at) {
    return (frame[at] & 0xF) << 12 | (frame[at + 1] & 0xF) << 8 | (frame[at + 2] & 0xF) << 4 |
           (frame[at + 3] & 0xF);
}

static const std::vector<Words> &ordersInWords() {
    static const std::vector<Words> table = {
        {{0x01, 0x04, 0x07, 0x00}, "zoom: stop"},
        {{0x01, 0x04, 0x07, 0x02}, "zoom toward tele"},
        {{0x01, 0x04, 0x07, 0x03}, "zoom toward wide"},
        {{0x01, 0x04, 0x08, 0x00}, "focus: stop"},
        {{0x01, 0x04, 0x08, 0x02}, "focus toward far"},
        {{0x01, 0x04, 0x08, 0x03}, "focus toward near"},
        {{0x01, 0x04, 0x18, 0x01}, "one push: focus once"},
        {{0x01, 0x04, 0x19, 0x01}, "initialise the lens"},
        {{0x01, 0x06, 0x04}, "go home"},
        {{0x01, 0x04, 0x38, 0x02}, "refocus by yourself"},
        {{0x01, 0x04, 0x38, 0x03}, "don't refocus by yourself"},
        {{0x01, 0x04, 0x38, 0x10}, "refocus by yourself: the other way round"},
        {{0x01, 0x04, 0x01, 0x02}, "infra-red filter away: night"},
        {{0x01, 0x04, 0x01, 0x03}, "infra-red filter in: day"},
        {{0x01, 0x04, 0x00, 0x02}, "power on"},
        {{0x01, 0x04, 0x00, 0x03}, "power off"},
        {{0x01, 0x00, 0x01}, "clear: drop all orders"},
        {{0x09, 0x04, 0x47}, "where is the zoom?"},
        {{0x09, 0x04, 0x48}, "where is the focus?"},
        {{0x09, 0x04, 0x38}, "do you refocus by yourself?"},
        {{0x09, 0x04, 0x00}, "are you on?"},
        {{0x09, 0x00, 0x02}, "who are you?"},
        {{0x09, 0x7E, 0x7E, 0x00}, "everything about the lens?"},
    };
    return table;
}

static std::string explainNumbered(const Bytes &frame) {
    static const char *const kMemory[] = {"clear", "set", "recall"};
    if (isLike(frame, {{0x01, 0x04, 0x47, kAny, kAny, kAny, kAny}, ""}))
        return "zoom to " + std::to_string(joinNibbles(frame, 4));
    if (isLike(frame, {{0x01, 0x04, 0x48, kAny, kAny, kAny, kAny}, ""}))
        return "focus to " + std::to_string(joinNibbles(frame, 4));
    if (isLike(frame, {{0x01, 0x04, 0x3F, kAny, kAny}, ""}) && frame[4] < 3)
        return std::string(kMemory[frame[4]]) + " preset " + std::to_string(frame[5]);
    if (isLike(frame, {{0x01, 0x04, 0x07, kAny}, ""}) && (frame[4] >> 4 == 2 || frame[4] >> 4 == 3))
        return std::string("zoom toward ") + (frame[4] >> 4 == 2 ? "tele" : "wide");
    if (isLike(frame, {{0x01, 0x04, 0x08, kAny}, ""}) && (frame[4] >> 4 == 2 || frame[4] >> 4 == 3))
        return std::string("focus toward ") + (frame[4] >> 4 == 2 ? "far" : "near");
    if (frame.size() == 3 && frame[1] >> 4 == 2)
        return "cancel what runs on socket " + std::to_string(frame[1] & 0xF);
    return "a frame that the camera does not know";
}

static std::string explainVisca(const Bytes &frame) {
    for (const Words &words : ordersInWords())
        if (isLike(frame, words))
            return words.text;
    return explainNumbered(frame);
}

static std::string explainPelcoDrive(const Bytes &frame) {
    if ((frame[2] & 0x01) != 0)
        return "focus toward near";
    if ((frame[3] & 0x20) != 0)
        return "zoom toward tele";
    if ((frame[3] & 0x40) != 0)
        return "zoom toward wide";
    return (frame[3] & 0x80) != 0 ? "focus toward far" : "stop";
}

static std::string explainPelco(const Bytes &frame) {
    const std::string number = std::to_string(frame[5]);
    int sum = 0;
    for (size_t i = 1; i + 1 < kPelcoLength; ++i)
        sum += frame[i];
    if ((sum & 0xFF) != frame[6])
        return "a frame with a wrong checksum";
    if ((frame[3] & 0x01) == 0)
        return explainPelcoDrive(frame);
    switch (frame[3]) {
    case 0x03:
        return "set preset " + number;
    case 0x05:
        return "clear preset " + number;
    case 0x07:
        return "recall preset " + number;
    case 0x55:
        return "where is the zoom?";
    default:
        return "a frame that the camera does not know";
    }
}

std::string explainOrder(const Bytes &frame) {
    if (frame.size() == kPelcoLength && frame[0] == kEnd)
        return "Pelco-D: " + explainPelco(frame);
    const bool isVisca = frame.size() > 2 && frame[0] >= 0x81 && frame[0] <= 0x88;
    return isVisca ? "VISCA: " + explainVisca(frame) : "no frame";
}

// ---- From the camera

static std::string explainError(uint8_t socket, uint8_t error) {
    switch (error) {
    case 0x02:
        return "I know no such command";
    case 0x03:
        return "both sockets are taken";
    case 0x04:
        return "cancelled on socket " + std::to_string(socket);
    case 0x05:
        return "nothing to cancel";
    default:
        return "that can't be done";
    }
}

static std::string explainReply(const Bytes &frame) {
    const int socket = frame[1] & 0xF;
    switch (frame[1] >> 4) {
    case 4:
        return "understood, on socket " + std::to_string(socket);
    case 5:
        if (socket != 0)
            return "done, on socket " + std::to_string(socket);
        return frame.size() == kPelcoLength ? "at " + std::to_string(joinNibbles(frame, 2))
                                            : "the answer";
    case 6:
        return frame.size() == 4 ? explainError(static_cast<uint8_t>(socket), frame[2]) : "?";
    default:
        return "?";
    }
}

std::string explainAnswer(const Bytes &frame) {
    if (frame.size() > 2 && frame[0] == kFromCamera)
        return explainReply(frame);
    return frame.size() == kPelcoLength && frame[0] == kEnd
               ? "zoom is at " + std::to_string(frame[4] << 8 | frame[5])
               : "an answer to all";
}

} // namespace view
