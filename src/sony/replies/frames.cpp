#include "sony/replies/frames.h"

static const unsigned char kFirstHeader = 0x81; // to camera 1
static const unsigned char kLastHeader = 0x88;  // to all of them
static const unsigned char kHighestInside = 0x7F;

static bool isChecksumRight(const unsigned char *bytes) {
    unsigned int sum = 0;
    for (int i = 1; i < kPelcoFrame - 1; ++i)
        sum += bytes[i];
    return (sum & 0xFF) == bytes[kPelcoFrame - 1];
}

static int measurePelcoD(const unsigned char *bytes, int count) {
    if (count > 1 && bytes[1] > kHighestInside)
        return -1;
    if (count < kPelcoFrame)
        return 0;
    return isChecksumRight(bytes) ? kPelcoFrame : -1;
}

// Whatever is no part of a frame may be the beginning of another one.
int measureFrame(const unsigned char *bytes, int count) {
    if (bytes[0] == kFrameEnd)
        return measurePelcoD(bytes, count);
    if (bytes[0] < kFirstHeader || bytes[0] > kLastHeader)
        return -1;
    for (int i = 1; i < count; ++i)
        if (bytes[i] > kHighestInside)
            return bytes[i] == kFrameEnd ? i + 1 : -i;
    return count == kLongestFrame ? -count : 0;
}
