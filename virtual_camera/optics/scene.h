// What is in front of the lens, apart from the picture itself: how far away it is and how light.
#pragma once

#include <cstdint>

#include "camera_options.h"

namespace vcam {

/// Distance of everything in view; HUGE_VAL is infinity. An object that comes nearer begins here,
/// now, and stops at the nearest distance that the lens can focus.
void setObjectDistanceM(double distanceM);
double objectDistanceM();

/// Vergence of an instant: 1 over the metres.
double objectDioptresAt(int64_t timeUs);

void setNight(bool isNight);
bool isNight();

/// Gain of the exposure: 1 by day.
int exposureGain();

void powerOnScene(const CameraOptions &options);

} // namespace vcam
