// One sample of the scene, in the coordinates that all pictures share.
#pragma once

namespace vcam {

/// Gamma-encoded, 0 to 1.
struct Rgb {
    float r;
    float g;
    float b;
};

/// Unit: the width of the widest view. The origin is its centre, x grows right, y down, so that
/// the wide view spans -0.5 to 0.5 by -0.28125 to 0.28125 and tele zoom looks at the middle.
struct SceneSample {
    float x;
    float y;
    float size;         ///< Width of the sample; finer detail than this is left out.
    float finestOctave; ///< log2(1 / size), kept beside it because a view shares it.
};

/// std::floor to an integer, inline: the baseline instruction set would call the library.
inline int floorToInt(float value) {
    const int whole = static_cast<int>(value);
    return static_cast<float>(whole) > value ? whole - 1 : whole;
}

inline float luminanceOf(const Rgb &colour) {
    return 0.299F * colour.r + 0.587F * colour.g + 0.114F * colour.b;
}

inline Rgb mixColours(const Rgb &from, const Rgb &to, float share) {
    return {from.r + (to.r - from.r) * share, from.g + (to.g - from.g) * share,
            from.b + (to.b - from.b) * share};
}

inline Rgb scaleColour(const Rgb &colour, float factor) {
    return {colour.r * factor, colour.g * factor, colour.b * factor};
}

} // namespace vcam
