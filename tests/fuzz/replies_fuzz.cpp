// Any stream of bytes through the port with replies, and two inquiries after it; and where frames
// begin and end, by itself. There is no lens: every order is refused, which it is told as well.
#include "fuzzed_port.h"

#include "autofocus_control.h"
#include "autofocus_service.h"
#include "sony/replies/frames.h"
#include "sony/replies/port.h"
#include "sony/replies/replier.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace {

const uint8_t kAskZoom[] = {0x81, 0x09, 0x04, 0x47, 0xFF};
const uint8_t kZoomIsWide[] = {0x90, 0x50, 0, 0, 0, 0, 0xFF};
constexpr int kSilenceMs = 4000; // the serial thread's idle look, and more than any completion

/// What a frame was measured to be, it is.
void requireFrames(const std::vector<uint8_t> &bytes) {
    for (size_t at = 0; at < bytes.size(); ++at) {
        const int count = static_cast<int>(std::min<size_t>(bytes.size() - at, kLongestFrame));
        const uint8_t *start = bytes.data() + at;
        const int length = measureFrame(start, count);
        fuzzed::require(length <= count && -length <= count, "no more than there is");
        fuzzed::require(length != 0 || count < kLongestFrame, "a full buffer is something");
        if (length <= 0)
            continue;
        unsigned sum = 0;
        for (int i = 1; i < kPelcoFrame - 1 && i < length; ++i)
            sum += start[i];
        const bool isPelco = start[0] == 0xFF && length == kPelcoFrame && (sum & 0xFF) == start[6];
        const bool isInside =
            std::all_of(start + 1, start + length - 1, [](uint8_t byte) { return byte <= 0x7F; });
        const bool isVisca = start[0] >= 0x81 && start[0] <= 0x88 && start[length - 1] == 0xFF;
        fuzzed::require(isPelco || (isVisca && isInside), "a frame");
    }
}

/// Whole messages; as many ends as acknowledgements, and never one too early.
void requireBalance() {
    const uint8_t *sent = fuzzed::sentBytes();
    const uint8_t *const end = sent + fuzzed::sentSize();
    int open[3] = {};
    while (sent < end) {
        const uint8_t *last = sent[0] == 0xFF ? sent + 6 : std::find(sent, end, 0xFF);
        fuzzed::require(last < end, "whole messages");
        const unsigned kind = sent[0] == 0x90 ? sent[1] >> 4 : 0;
        const unsigned socket = sent[1] & 0xF;
        const bool isEnd = (kind == 5 && socket != 0) || (kind == 6 && sent[2] > 0x03);
        const bool isOfNone = kind == 6 && sent[2] == 0x05;
        fuzzed::require(socket <= 2 || isOfNone || kind == 0, "two sockets");
        if (kind == 4)
            ++open[socket];
        else if (isEnd && !isOfNone)
            fuzzed::require(--open[socket] >= 0, "an end to something");
        sent = last + 1;
    }
    fuzzed::require(open[1] >= 0 && open[2] >= 0, "no end too many");
}

/// A direct order that is sent again is acknowledged again and ends once: none is left open.
void requireQuiet() {
    fuzzed::beginRun(nullptr, 0);
    g_ShaPosInfo = nullptr;
    fuzzed::fallSilentFor(kSilenceMs);
    answerUntilPelcoD(fuzzed::kPort);
    fuzzed::require(fuzzed::sentSize() == 0, "nothing is left to say");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::vector<uint8_t> bytes(data, data + size);
    requireFrames(bytes);
    for (int i = 0; i < 2; ++i)
        bytes.insert(bytes.end(), std::begin(kAskZoom), std::end(kAskZoom));
    AF_Manager_Set_Setting_API(AF_SETTING_SERIAL_REPLIES, 2);
    openPort(fuzzed::kPort);
    fuzzed::beginRun(bytes.data(), bytes.size());
    g_ShaPosInfo = nullptr;
    fuzzed::fallSilentFor(kSilenceMs);
    fuzzed::require(answerUntilPelcoD(fuzzed::kPort) == nullptr, "all Pelco-D is answered here");
    const uint8_t *const sent = fuzzed::sentBytes();
    const uint8_t *const end = sent + fuzzed::sentSize();
    fuzzed::require(std::search(sent, end, std::begin(kZoomIsWide), std::end(kZoomIsWide)) != end,
                    "one inquiry of two is heard");
    requireBalance();
    requireQuiet();
    return 0;
}
