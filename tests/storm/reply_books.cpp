#include "storm/reply_books.h"

#include "autofocus_service.h"
#include "devices/lens.h"

#include <algorithm>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <vector>

using vcam::Bytes;

namespace books {

static const uint8_t kDone = 0; // in the place of an error
static const uint8_t kCancelled = 0x04;

enum class Due { Acknowledgement, Answer, PerhapsNoCancel };

namespace {
struct Asked {
    Bytes frame;
    Due due;
};

struct Open {
    Bytes frame;
    bool isDirect;
};
} // namespace

static std::mutex keeping;
static std::deque<Asked> unanswered;
static std::deque<Open> open[16]; // by socket
static std::string complaints;
static long acknowledged;

static std::string spell(const Bytes &bytes) {
    std::string text;
    for (const uint8_t byte : bytes) {
        char digits[8];
        snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

static void complain(const std::string &what, const Bytes &bytes) {
    complaints += what + " " + spell(bytes) + "\n";
}

// ---- What is sent

static bool isDirect(const Bytes &frame) {
    if (frame[2] == 0x06)
        return true;
    const uint8_t kDirect[] = {0x18, 0x19, 0x3F, 0x47, 0x48};
    return std::find(std::begin(kDirect), std::end(kDirect), frame[3]) != std::end(kDirect);
}

static bool isClear(const Bytes &frame) {
    return frame == Bytes{0x81, 0x01, 0x00, 0x01, 0xFF};
}

void noteSent(const Bytes &frame, int replies) {
    const std::lock_guard<std::mutex> guard(keeping);
    const bool isPelcoQuery = frame[0] == 0xFF && frame[3] == 0x55 && replies == 2;
    if (frame[0] == 0x81 && (frame[1] & 0xF0) == 0x20)
        unanswered.push_back({frame, Due::PerhapsNoCancel});
    else if (frame[0] == 0x81 && frame[1] == 0x01 && !isClear(frame))
        unanswered.push_back({frame, Due::Acknowledgement});
    else if (frame[0] == 0x81 || frame[0] == 0x88 || isPelcoQuery)
        unanswered.push_back({frame, Due::Answer});
}

// ---- What is heard

static bool takeAsked(Due due, Asked *asked) {
    const auto isOther = [=](const Asked &one) {
        return one.due != Due::PerhapsNoCancel || due == Due::PerhapsNoCancel;
    };
    const auto first = std::find_if(unanswered.begin(), unanswered.end(), isOther);
    if (first == unanswered.end())
        return false;
    *asked = *first;
    unanswered.erase(unanswered.begin(), first + 1); // a cancel says nothing where there was one
    return asked->due == due;
}

static void noteAcknowledgement(unsigned socket, const Bytes &message) {
    Asked asked;
    if (!takeAsked(Due::Acknowledgement, &asked)) {
        complain("acknowledges what nobody has sent", message);
        return;
    }
    ++acknowledged;
    for (const Open &one : open[socket])
        if (one.isDirect && one.frame == asked.frame)
            return;
    open[socket].push_back({asked.frame, isDirect(asked.frame)});
}

// What the next order can have moved it since.
static const int kMovedOn = 200;

namespace {
struct Arrival {
    Bytes frame;
    int focus; ///< Where the lens truly stood when it was said to have arrived.
};
} // namespace

static std::vector<Arrival> arrivals; // judged in the end: the travel is the library's to know

static void noteArrival(const Bytes &frame) {
    if (frame[3] == 0x48 || frame.size() == 13)
        arrivals.push_back({frame, vcam::truePosition(vcam::Axis::Focus)});
}

/// The focus's position is the last one in the frame.
static bool isThere(const Arrival &arrival) {
    unsigned position = 0;
    for (size_t i = arrival.frame.size() - 5; i < arrival.frame.size() - 1; ++i)
        position = position << 4 | arrival.frame[i];
    const int range = static_cast<int>(PI_Near_Range + PI_Far_Range);
    const int target = 10000 + (49152 - static_cast<int>(position)) * range / 45056;
    const int there =
        std::clamp(target, static_cast<int>(FM_Near_Limit), static_cast<int>(FM_Far_Limit));
    return std::abs(arrival.focus - there) <= kMovedOn;
}

/// Cancelling ends a direct order; else the one ends that was acknowledged first.
static void noteEnd(unsigned socket, uint8_t error, const Bytes &message) {
    const bool isCancelled = error == kCancelled;
    auto &list = open[socket];
    const auto ended = std::find_if(list.begin(), list.end(),
                                    [=](const Open &one) { return one.isDirect || !isCancelled; });
    if (ended == list.end()) {
        complain("ends what was not acknowledged", message);
        return;
    }
    if (error == kDone)
        noteArrival(ended->frame);
    list.erase(ended);
}

static void noteError(unsigned socket, uint8_t error, const Bytes &message) {
    Asked asked = {};
    if (socket == 0 && (error == 0x02 || error == 0x03)) {
        if (!takeAsked(Due::Acknowledgement, &asked) && asked.due != Due::Answer)
            complain("refuses what nobody has sent", message);
    } else if (error == 0x05) {
        if (!takeAsked(Due::PerhapsNoCancel, &asked))
            complain("cancels not what nobody has sent", message);
    } else {
        noteEnd(socket, error, message);
    }
}

static void noteMessage(const Bytes &message) {
    const unsigned socket = message[1] & 0xF;
    const unsigned kind = message[0] == 0x90 ? message[1] >> 4 : 0;
    Asked asked;
    if (kind == 4)
        noteAcknowledgement(socket, message);
    else if (kind == 6 && message.size() == 4)
        noteError(socket, message[2], message);
    else if (kind == 5 && socket != 0)
        noteEnd(socket, kDone, message);
    else if (!takeAsked(Due::Answer, &asked))
        complain("answers what nobody has asked", message);
}

void noteHeard(const Bytes &bytes) {
    const std::lock_guard<std::mutex> guard(keeping);
    static Bytes message;
    for (const uint8_t byte : bytes) {
        message.push_back(byte);
        const bool isPelco = message[0] == 0xFF;
        if (isPelco ? message.size() < 7 : byte != 0xFF)
            continue;
        noteMessage(message);
        message.clear();
    }
}

std::string settle() {
    const std::lock_guard<std::mutex> guard(keeping);
    std::string owed = complaints;
    for (const Arrival &arrival : arrivals)
        if (!isThere(arrival))
            owed += "is not there " + spell(arrival.frame) + "\n";
    for (const Asked &asked : unanswered)
        if (asked.due != Due::PerhapsNoCancel)
            owed += "unanswered " + spell(asked.frame) + "\n";
    for (const auto &list : open)
        for (const Open &one : list)
            owed += "never ended " + spell(one.frame) + "\n";
    return owed;
}

long countAcknowledged() {
    return acknowledged;
}

} // namespace books
