// Half of the mutations know what a frame is: they put a whole one in, end one, or mend a checksum,
// which chance alone seldom does.
#include "host/controller_frames.h"

#include <cstring>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t room);

namespace {

constexpr size_t kPelcoLength = 7;

size_t insertFrame(uint8_t *data, size_t size, size_t room, size_t at, const vcam::Bytes &frame) {
    if (size + frame.size() > room)
        return size;
    memmove(data + at + frame.size(), data + at, size - at);
    memcpy(data + at, frame.data(), frame.size());
    return size + frame.size();
}

void mendChecksum(uint8_t *frame) {
    unsigned sum = 0;
    for (size_t i = 1; i + 1 < kPelcoLength; ++i)
        sum += frame[i];
    frame[kPelcoLength - 1] = static_cast<uint8_t>(sum);
}

} // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t *data, size_t size, size_t room, unsigned seed) {
    const size_t at = size == 0 ? 0 : (seed >> 8) % size;
    switch (seed % 6) {
    case 0:
        return insertFrame(data, size, room, at, vcam::kFrames[(seed >> 4) % vcam::kFrames.size()]);
    case 1:
        if (size > 0)
            data[at] = 0xFF;
        return size;
    case 2:
        if (at + kPelcoLength <= size)
            mendChecksum(data + at - at % kPelcoLength);
        return size;
    default:
        return LLVMFuzzerMutate(data, size, room);
    }
}
