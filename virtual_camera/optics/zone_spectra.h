// How much detail of which fineness each zone holds, in perfect focus: the input of everything
// that the statistics engine is made to report.
#pragma once

#include <array>
#include <cstddef>

namespace vcam {

constexpr size_t kZoneRows = 8;
constexpr size_t kZoneColumns = 8;
constexpr size_t kZoneCount = kZoneRows * kZoneColumns;

enum Band : size_t { kH1, kH2, kV1, kV2, kBandCount };

/// Frequency bins, evenly spaced in the logarithm, from kLowestFrequency to 0.5 cycles per pixel.
constexpr size_t kBinCount = 16;
constexpr double kLowestFrequency = 2.0 / 256;

/// Lower edge of a bin, in cycles per pixel; kBinCount gives the upper edge of the last.
double binEdge(size_t bin);

/// One number a zone.
using ZoneRow = std::array<float, kZoneCount>;

struct ViewSpectra {
    /// After each filter, by frequency: variance of the luminance (8-bit levels, squared).
    std::array<std::array<ZoneRow, kBinCount>, kBandCount> energies{};
    ZoneRow luminance{}; ///< Mean, in 8-bit levels.
};

/// Views are analysed at these zoom keys, evenly in the logarithm of the focal length from wide to
/// tele; what lies between two of them is blended.
constexpr size_t kKeyCount = 41;

ViewSpectra analyseView(size_t key);

} // namespace vcam
