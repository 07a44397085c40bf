// Pictures of the camera as JPEG files on a descriptor, four bytes of length ahead of each. They
// are painted on a thread of their own, which is none of the camera's: however long that takes,
// virtual time goes on, and of the looks that have waited only the last is painted.
#pragma once

#include "optics/render.h"

namespace view {

/// Before the camera is powered on.
void startPainting(int descriptor);

/// What is to be painted next.
void show(const vcam::SceneLook &look);

} // namespace view
