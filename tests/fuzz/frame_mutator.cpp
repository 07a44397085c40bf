// Half of the mutations know what a frame is: they put a whole one in, end one, or mend a checksum,
// which chance alone seldom does.
#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" size_t LLVMFuzzerMutate(uint8_t *data, size_t size, size_t room);

namespace {

struct Frame {
    size_t size;
    uint8_t bytes[16];
};

const Frame kFrames[] = {
    {5, {0x81, 0x09, 0x04, 0x47, 0xFF}},
    {6, {0x81, 0x09, 0x7E, 0x7E, 0x00, 0xFF}},
    {6, {0x81, 0x01, 0x04, 0x07, 0x27, 0xFF}},
    {6, {0x81, 0x01, 0x04, 0x74, 0x00, 0xFF}},
    {9, {0x81, 0x01, 0x04, 0x47, 0x00, 0x01, 0x02, 0x03, 0xFF}},
    {13, {0x81, 0x01, 0x04, 0x47, 0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0xFF}},
    {16, {0x81, 0x01, 0x04, 0x73, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF}},
    {7, {0xFF, 0x01, 0x00, 0x20, 0x00, 0x00, 0x21}},
    {7, {0xFF, 0x01, 0x01, 0x00, 0x00, 0x00, 0x02}},
    {7, {0xFF, 0x01, 0x00, 0x00, 0x00, 0x00, 0x01}},
};
constexpr size_t kFrameCount = sizeof kFrames / sizeof kFrames[0];
constexpr size_t kPelcoLength = 7;

size_t insertFrame(uint8_t *data, size_t size, size_t room, size_t at, const Frame &frame) {
    if (size + frame.size > room)
        return size;
    memmove(data + at + frame.size, data + at, size - at);
    memcpy(data + at, frame.bytes, frame.size);
    return size + frame.size;
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
        return insertFrame(data, size, room, at, kFrames[(seed >> 4) % kFrameCount]);
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
