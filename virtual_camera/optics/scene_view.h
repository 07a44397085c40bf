// What the lens shows of the scene: the picture in hand, generated or from a file, by zoom factor.
#pragma once

#include <string>

#include "optics/scene_sample.h"

namespace vcam {

/// The sensor's pixels across and down.
constexpr int kViewWidth = 1920;
constexpr int kViewHeight = 1080;

/// What all samples of a view share.
struct ViewScale {
    float pixel;        ///< Width of a sensor pixel in the scene.
    float finestOctave; ///< log2(1 / pixel).
};

ViewScale scaleView(double zoomFactor);

/// The middle of a sensor pixel, the origin at the sensor's upper left corner; may lie outside.
inline SceneSample placePixel(float column, float row, const ViewScale &scale) {
    return {(column + 0.5F - kViewWidth / 2.0F) * scale.pixel,
            (row + 0.5F - kViewHeight / 2.0F) * scale.pixel, scale.pixel, scale.finestOctave};
}

/// Perfectly focused.
Rgb sampleScene(const SceneSample &at);

/// False when the file cannot be read whole; empty chooses the generated scene. Below its own
/// pixels a picture goes on as surface texture, unless it is @p isPlain.
bool chooseScene(const std::string &picturePath, bool isPlain = false);

} // namespace vcam
