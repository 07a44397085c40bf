#include "narrator.h"

#include <algorithm>
#include <mutex>

#include "autofocus_control.h"
#include "clock/virtual_clock.h"
#include "devices/serial_port.h"
#include "stage.h"

namespace demo {

static constexpr double kUsPerS = 1e6;
static constexpr uint8_t kEnd = 0xFF;
static constexpr uint8_t kFromCamera = 0x90;
static constexpr size_t kPelcoLength = 7;

static std::mutex telling;
static std::vector<Line> told;
static std::vector<uint8_t> unfinished; // of the port's last frame

// ---- Events

static const char *nameActivity(unsigned activity) {
    static const char *const kNames[] = {"stopped",     "starting",  "waiting",         "zooming",
                                         "focusing",    "autofocus", "going somewhere", "homing",
                                         "calibrating", "stepping"};
    return kNames[activity];
}

std::string nameOutcome(unsigned outcome) {
    static const char *const kNames[] = {"running",
                                         "done",
                                         "focused",
                                         "unsure",
                                         "no peak: flat",
                                         "no peak: at the edge",
                                         "no peak: no statistics",
                                         "replaced",
                                         "cancelled",
                                         "fault",
                                         "forgotten"};
    return kNames[outcome];
}

static double secondsNow() {
    return static_cast<double>(vcam::nowUs()) / kUsPerS;
}

static void takeDown(const AF_Event_ST *event, void *) {
    if (event->outcome == AF_OUTCOME_NONE)
        return;
    const std::lock_guard<std::mutex> guard(telling);
    told.push_back({secondsNow(), "    library: ticket " + std::to_string(event->ticket) + ", " +
                                      nameActivity(event->activity) + ": " +
                                      nameOutcome(event->outcome)});
}

void listenToEvents() {
    AF_Manager_Init_EventFun_API(takeDown, nullptr);
}

// ---- Replies

static std::string explainError(uint8_t socket, uint8_t error) {
    switch (error) {
    case 0x02:
        return "no such command";
    case 0x03:
        return "both sockets are taken";
    case 0x04:
        return "cancelled on socket " + std::to_string(socket);
    case 0x05:
        return "nothing to cancel";
    default:
        return "not executable";
    }
}

static std::string explainVisca(const std::vector<uint8_t> &frame) {
    const uint8_t socket = frame[1] & 0x0F;
    switch (frame[1] >> 4) {
    case 4:
        return "acknowledged on socket " + std::to_string(socket);
    case 5:
        return socket == 0 ? "the answer" : "completed on socket " + std::to_string(socket);
    default:
        return explainError(socket, frame[2]);
    }
}

std::string explainReply(const std::vector<uint8_t> &frame) {
    const bool isVisca = frame.size() > 2 && frame[0] == kFromCamera;
    const bool isError = isVisca && frame[1] >> 4 == 6;
    if (!isVisca || (isError && frame.size() < 4))
        return "";
    return explainVisca(frame);
}

static size_t measureReply(const std::vector<uint8_t> &bytes) {
    if (!bytes.empty() && bytes[0] == kEnd)
        return bytes.size() < kPelcoLength ? 0 : kPelcoLength;
    const auto end = std::find(bytes.begin(), bytes.end(), kEnd);
    return end == bytes.end() ? 0 : static_cast<size_t>(end - bytes.begin()) + 1;
}

static void takeDownReplies() {
    const std::vector<uint8_t> bytes = vcam::cameraSent();
    unfinished.insert(unfinished.end(), bytes.begin(), bytes.end());
    while (const size_t length = measureReply(unfinished)) {
        const auto end = unfinished.begin() + static_cast<std::ptrdiff_t>(length);
        const std::vector<uint8_t> frame(unfinished.begin(), end);
        unfinished.erase(unfinished.begin(), end);
        const std::lock_guard<std::mutex> guard(telling);
        told.push_back(
            {secondsNow(), "    reply: " + spellBytes(frame) + "  " + explainReply(frame)});
    }
}

std::vector<Line> takeLines() {
    takeDownReplies();
    const std::lock_guard<std::mutex> guard(telling);
    std::vector<Line> lines;
    lines.swap(told);
    return lines;
}

} // namespace demo
