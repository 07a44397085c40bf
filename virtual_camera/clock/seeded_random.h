// Random numbers that depend on nothing but a seed and a purpose: the same on every machine, and
// drawing more of one kind never changes another.
#pragma once

#include <cstdint>

namespace vcam {

class SeededRandom {
public:
    constexpr SeededRandom(uint64_t seed, uint64_t purpose) : state(mix(seed) ^ mix(~purpose)) {}

    uint64_t drawBits() { return mix(state += kStride); }

    /// Uniform in [0, 1).
    double drawUnit() { return static_cast<double>(drawBits() >> 11) * 0x1p-53; }

    /// Uniform in [low, high].
    int drawBetween(int low, int high) {
        const auto span = static_cast<uint64_t>(high - low) + 1;
        return low + static_cast<int>(drawBits() % span);
    }

    /// Close to normal, mean 0 and deviation 1: four 16-bit uniforms summed.
    float drawNormal() {
        const uint64_t bits = drawBits();
        const auto sum = static_cast<int32_t>((bits & 0xFFFF) + (bits >> 16 & 0xFFFF) +
                                              (bits >> 32 & 0xFFFF) + (bits >> 48));
        return static_cast<float>(sum - 0x1FFFE) * kNormalScale;
    }

private:
    static constexpr uint64_t kStride = 0x9E3779B97F4A7C15;
    static constexpr float kNormalScale = 1.0F / 37837.0F; // sqrt(4 / 12) of the 16-bit range

    static constexpr uint64_t mix(uint64_t value) {
        value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9;
        value = (value ^ value >> 27) * 0x94D049BB133111EB;
        return value ^ value >> 31;
    }

    uint64_t state;
};

} // namespace vcam
