// Any stream of bytes through the serial thread, frame after frame; and the framing step by itself.
#include "fuzzed_port.h"

#include "autofocus/serial_protocol.h"
#include "sony/framing.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzzed::beginRun(data, size);
    SonyViscaProtocol(nullptr);
    fuzzed::requireSoundPort();
    fuzzed::require(fuzzed::sentSize() <= (size + 4) / 5 * 7, "one reply a frame of five");

    for (size_t at = 0; at + kFrameStart <= size; ++at) {
        char start[kFrameStart];
        for (int i = 0; i < kFrameStart; ++i)
            start[i] = static_cast<char>(data[at + static_cast<size_t>(i)]);
        int type = -1;
        const int due = CheckVISCACmd(start, kFrameStart, &type);
        const bool isFrame = due == 0 || due == 1 || due == 2 || due == 4 || due == 11;
        fuzzed::require(due == -1 || isFrame, "the missing bytes fit a frame");
        fuzzed::require(due == -1 || (type >= kViscaGeneral && type <= kViscaDirect), "its type");
        fuzzed::require(due != 2 || type == kPelcoD, "two bytes are due for Pelco-D alone");
        fuzzed::require(due == -1 || data[at] == (type == kPelcoD ? 0xFF : 0x81), "its header");
    }
    return 0;
}
