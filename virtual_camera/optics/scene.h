// What is in front of the lens, apart from the picture itself: how far away it is and how light.
#pragma once

#include "camera_options.h"

namespace vcam {

/// Distance of everything in view; HUGE_VAL is infinity.
void setObjectDistanceM(double distanceM);
double objectDistanceM();

void setNight(bool isNight);
bool isNight();

/// Gain of the exposure: 1 by day.
int exposureGain();

void powerOnScene(const CameraOptions &options);

} // namespace vcam
