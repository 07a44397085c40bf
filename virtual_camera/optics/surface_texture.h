// Fine structure that every surface has: noise with the same strength at every scale, as natural
// surfaces have about. It keeps a magnified picture from turning into flat blobs.
#pragma once

#include "optics/scene_sample.h"

namespace vcam {

/// About normal with deviation 1 per octave. Octave n has 2^n grains to the unit; octaves run from
/// the first one, 0 at least, down to the sample's size, the finest one faded in, so that zooming
/// never makes structure jump.
float sampleSurface(const SceneSample &at, int firstOctave);

/// Uniform in [0, 1), a pure function of its arguments: the painters' source of variety.
float hashUnit(int first, int second, int third);

} // namespace vcam
