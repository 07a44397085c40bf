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

/// One zone after one filter: variance of the luminance (8-bit levels, squared) by frequency.
using BinEnergies = std::array<float, kBinCount>;

struct ViewSpectra {
    std::array<std::array<BinEnergies, kZoneCount>, kBandCount> energies{};
    std::array<float, kZoneCount> luminance{}; ///< Mean, in 8-bit levels.
};

ViewSpectra analyseView(double zoomFactor);

} // namespace vcam
