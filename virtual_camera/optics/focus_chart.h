// The chart on the board of the generated scene: stars, gratings, checks, text-like marks.
#pragma once

#include "optics/scene_sample.h"

namespace vcam {

/// Half the board's width, in scene units; its sides are as 16 to 9.
constexpr float kBoardHalfWidth = 0.20F;
constexpr float kBoardHalfHeight = kBoardHalfWidth * 9 / 16;

/// For a sample that lies on the board.
Rgb paintChart(const SceneSample &at);

} // namespace vcam
