// What the lens shows of the scene: the picture in hand, generated or from a file, by zoom factor.
#pragma once

#include <string>

#include "optics/scene_sample.h"

namespace vcam {

/// The sensor's pixels across and down.
constexpr int kViewWidth = 1920;
constexpr int kViewHeight = 1080;

/// The middle of a sensor pixel, the origin at the sensor's upper left corner; may lie outside.
SceneSample placePixel(float column, float row, float zoomFactor);

/// Perfectly focused.
Rgb sampleScene(const SceneSample &at);

/// False when the file cannot be read; empty chooses the generated scene.
bool chooseScene(const std::string &picturePath);

} // namespace vcam
