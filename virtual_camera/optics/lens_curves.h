// Where this unit is in focus: its own curves over the zoom range, and what a focus error means
// in blur. Best focus is linear in vergence between the curves for infinity and for 2 m.
#pragma once

#include "camera_options.h"

namespace vcam {

/// Focus position of best focus at a zoom position, for an object at a vergence (1 / metres).
double inFocusPositionAt(double zoom, double dioptres);

/// 0 at the wide end of the zoom grid, 1 at its tele end; the focal length is exponential in it.
double zoomShareAt(double zoom);

/// Focal length over the wide end's.
double zoomFactorAt(double zoom);
double focalLengthMmAt(double zoom);
double fNumberAt(double zoom);

/// Half the depth of focus, in focus steps.
double halfDepthStepsAt(double zoom);

/// For the true zoom position and the present object distance.
double inFocusPosition();

/// Present focus error over half the depth of focus: positive when the focus stands too far. Its
/// magnitude is the diameter of the blur disc in pixels.
double focusErrorHalfDepths();
double focusErrorHalfDepthsAt(double zoom, double focus, double dioptres);

void powerOnLensCurves(const CameraOptions &options);

} // namespace vcam
