// What a controller sends on the serial port and gets back, byte for byte.
#pragma once

#include <cstdint>
#include <vector>

namespace demo {

using Bytes = std::vector<uint8_t>;

inline const Bytes kViscaTele = {0x81, 0x01, 0x04, 0x07, 0x27, 0xFF};
inline const Bytes kViscaWide = {0x81, 0x01, 0x04, 0x07, 0x37, 0xFF};
inline const Bytes kViscaZoomStop = {0x81, 0x01, 0x04, 0x07, 0x00, 0xFF};
inline const Bytes kAskZoom = {0x81, 0x09, 0x04, 0x47, 0xFF};
inline const Bytes kAskFocus = {0x81, 0x09, 0x04, 0x48, 0xFF};
inline const Bytes kAskFocusMode = {0x81, 0x09, 0x04, 0x38, 0xFF};

inline const Bytes kPelcoTele = {0xFF, 0x01, 0x00, 0x20, 0x00, 0x00, 0x21};
inline const Bytes kPelcoWide = {0xFF, 0x01, 0x00, 0x40, 0x00, 0x00, 0x41};
inline const Bytes kPelcoStop = {0xFF, 0x01, 0x00, 0x00, 0x00, 0x00, 0x01};

/// A 16-bit position as VISCA's four nibbles, between a head and the terminator.
inline Bytes wrapPosition(Bytes frame, unsigned position) {
    for (int shift = 12; shift >= 0; shift -= 4)
        frame.push_back(static_cast<uint8_t>(position >> shift & 0xF));
    frame.push_back(0xFF);
    return frame;
}

inline Bytes viscaPositionReply(unsigned position) {
    return wrapPosition({0x90, 0x50}, position);
}

inline Bytes viscaDirectZoom(unsigned position) {
    return wrapPosition({0x81, 0x01, 0x04, 0x47}, position);
}

} // namespace demo
