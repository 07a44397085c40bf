// What the focus statistics engine reports for a frame: the zones' filter sums for a position of
// the lens, at the object distance and the light of that instant. With a second object each of its
// zones is as sharp as that is.
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

/// Where the lens group stands at an instant.
struct LensPlace {
    int zoom;
    int focus;
    int64_t timeUs;
};

/// What a frame is made of.
struct Exposure {
    const LensPlace *places; ///< The frame is the mean of what is seen from each.
    size_t count;
    uint64_t frame; ///< Chooses the noise: asked twice, a frame gives the same values.
    uint64_t lampZones;
};

void measureZones(const Exposure &exposure, ZoneValues &values);

/// Factor on the zones' noise from the next frame on.
void setNoise(double factor);
double noiseFactor();

/// Weighted average of h1, over the 4 x 4 zones in the middle or over all of them.
double averageCentre(const ZoneValues &values);
double averageWhole(const ZoneValues &values);

void powerOnZoneValues(const CameraOptions &options);

} // namespace vcam
