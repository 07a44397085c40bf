// Shapes whose edges are softened over the width of the sample, so that none of them aliases.
#pragma once

#include <algorithm>
#include <cmath>

#include "optics/scene_sample.h"

namespace vcam {

constexpr float kTwoPi = 6.2831853F;

/// Share of a sample of that size, centred at `at`, that lies between two edges.
inline float coverSpan(float at, float low, float high, float size) {
    const float half = size / 2;
    return std::max(0.0F, std::min(at + half, high) - std::max(at - half, low)) / size;
}

inline float coverBox(float x, float y, float halfWidth, float halfHeight, float size) {
    return coverSpan(x, -halfWidth, halfWidth, size) * coverSpan(y, -halfHeight, halfHeight, size);
}

/// A square wave of 0 and 1 at a phase in cycles; the sample's width in cycles too.
inline float paintStripes(float phase, float width) {
    constexpr float kFadeStart = 0.75F;
    const float contrast = std::clamp(2 * (kFadeStart - width), 0.0F, 1.0F);
    const float share = phase - static_cast<float>(floorToInt(phase));
    const float triangle = 1 - 4 * std::fabs(share - 0.5F); // steepness 4 a cycle
    return 0.5F + 0.5F * contrast * std::clamp(triangle / (2 * width), -1.0F, 1.0F);
}

} // namespace vcam
