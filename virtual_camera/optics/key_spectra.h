// The spectra of the scene in hand, by zoom key.
#pragma once

#include "camera_options.h"
#include "optics/zone_spectra.h"

namespace vcam {

/// The generated scene's are part of the program; a picture's are worked out when first asked for,
/// which takes milliseconds.
const ViewSpectra &spectraOfKey(size_t key);

void powerOnKeySpectra(const CameraOptions &options);

} // namespace vcam
