// What the focus statistics engine reports for a frame: the zones' filter sums for a position of
// the lens, at the present object distance and light.
#pragma once

#include <array>
#include <cstdint>

#include "camera_options.h"
#include "optics/zone_spectra.h"

namespace vcam {

struct ZoneValues {
    std::array<std::array<float, kZoneCount>, kBandCount> band{}; ///< Counts, up to 65535.
    std::array<float, kZoneCount> luminance{};                    ///< 65535 is full scale.
};

/// The frame number chooses the noise: asked twice, a frame gives the same values.
void measureZones(int zoom, int focus, uint64_t frame, uint64_t lampZones, ZoneValues &values);

/// Weighted average of h1, over the 4 x 4 zones in the middle or over all of them.
double averageCentre(const ZoneValues &values);
double averageWhole(const ZoneValues &values);

void powerOnZoneValues(const CameraOptions &options);

} // namespace vcam
