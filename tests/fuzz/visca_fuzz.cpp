// Any bytes as one whole VISCA frame. A copy of exactly their size shows reads beyond its end.
#include "fuzzed_port.h"

#include "autofocus_service.h"

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    std::vector<uint8_t> frame(data, data + size);
    fuzzed::beginRun(nullptr, 0);
    const int result = SonyViscaProcess(frame.data(), static_cast<int>(size));
    fuzzed::requireSoundPort();
    const bool isWhole = size > 0 && frame[0] == 0x81 && frame.back() == 0xFF;
    fuzzed::require(result == (isWhole ? 0 : -1), "refused or not by its two ends");
    const bool acts = fuzzed::hasStored() || fuzzed::sentSize() > 0;
    fuzzed::require(!acts || (isWhole && size >= 5 && frame[2] == 0x04),
                    "only the camera's category acts");
    fuzzed::require(!fuzzed::hasStored() || frame[1] == 0x01, "only commands are stored");
    fuzzed::require(fuzzed::sentSize() == 0 || frame[1] == 0x09, "only inquiries are answered");
    return 0;
}
