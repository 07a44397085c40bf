// A series of Pelco-D frames, the last one cut: what a stop does depends on the frames before it.
#include "fuzzed_port.h"

#include "autofocus_service.h"

#include <algorithm>
#include <vector>

constexpr size_t kFrameLength = 7;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    for (size_t at = 0; at < size; at += kFrameLength) {
        const size_t length = std::min(kFrameLength, size - at);
        std::vector<uint8_t> frame(data + at, data + at + length);
        fuzzed::beginRun(nullptr, 0);
        const int result = PelcodProcess(frame.data(), static_cast<int>(length));
        unsigned sum = 0;
        for (size_t i = 1; i + 1 < length; ++i)
            sum += frame[i];
        const bool isWhole = length == kFrameLength && (sum & 0xFF) == frame[6];
        fuzzed::require(result == (isWhole ? 0 : -1), "refused or not by its checksum");
        fuzzed::require(isWhole || !fuzzed::hasStored(), "a damaged frame does nothing");
        fuzzed::require(fuzzed::sentSize() == 0, "there are no replies");
        fuzzed::requireSoundPort();
    }
    return 0;
}
