// A picture from a file, PNG or JPEG, as a scene: it fills the widest view, its middle is the
// scene's middle. Read once at power-on, then only sampled.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "optics/scene_sample.h"

namespace vcam {

struct PixelGrid {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb; ///< Rows from the top, three bytes a pixel.
};

class Picture {
public:
    /// False when the file is no PNG or JPEG that can be read whole. What is finer than its pixels
    /// is surface texture, or with @p isPlain nothing.
    bool load(const std::string &path, bool isPlain);
    bool isLoaded() const { return !levels.empty(); }
    Rgb sample(const SceneSample &at) const;

private:
    std::vector<PixelGrid> levels; ///< Each half as wide as the one before.
    bool hasTexture = true;
    float pixelsPerUnit = 0; ///< Of the first level.
    float pixelOctave = 0;   ///< log2(pixelsPerUnit).
};

} // namespace vcam
