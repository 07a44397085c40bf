// The scene that needs no file: a town at dusk behind a tree line, and in the middle a board with
// a focus chart that carries a smaller copy of itself at its centre, so that every zoom position
// finds something to focus on. A pure function of place: sharp at any magnification.
#pragma once

#include "optics/scene_sample.h"

namespace vcam {

Rgb paintScene(const SceneSample &at);

} // namespace vcam
