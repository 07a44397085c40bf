// The mechanics of the lens: where its two axes truly stand, whatever the library counts.
//
// Models: step motors whose steps spread evenly over a run, so that a position can be asked for
// any instant; hard stops beyond the travel where steps are lost; one photo-interrupter an axis.
// With backlash the lens group follows its motor only once the slack in the gear is taken up; light
// and photo-interrupter see the group. The motor's steps are numbered so that motor and group agree
// when the slack is taken up in the direction in which a home search meets the edge last; after a
// move the other way the group is behind by the backlash. With slip some periods lose steps.
// Does not model: resonance, acceleration limits, stops that the group meets before its motor.
// Faults: photo-interrupters stuck at a level; an axis put somewhere else by hand.
#pragma once

#include <cstdint>

#include "camera_options.h"

namespace vcam {

enum class Axis { Zoom, Focus };

/// True position of the motor now, in steps; 10000 is the mechanical wide or near end.
int truePosition(Axis axis);

/// True position at an instant that is not in the future. Runs long past are forgotten (the last
/// sixty-four are kept), which is further back than any frame that can still be asked for.
int truePositionAt(Axis axis, int64_t timeUs);

/// Where the lens group is, which is the motor's position unless there is backlash.
int groupPosition(Axis axis);
int groupPositionAt(Axis axis, int64_t timeUs);

/// Puts an axis somewhere by hand; a run in progress ends.
void placeAt(Axis axis, int position);

/// Steps commanded against a hard stop since power-on.
long lostSteps(Axis axis);

/// Highest position within the travel; the hard stop lies a little beyond.
int travelEnd(Axis axis);

/// What the driver chip does to a motor: direction +1 counts up, -1 down.
void runMotor(Axis axis, int direction, int steps, double stepUs);
void stopMotor(Axis axis);
bool isMotorRunning(Axis axis);

/// Level of the axis's photo-interrupter, as an illuminated sensor gives it.
int readPhotoInterrupter(Axis axis);

/// Fault: the sensor gives this level wherever the lens stands; -1 heals it.
void stickPhotoInterrupter(Axis axis, int level);

void powerOnLens(const CameraOptions &options);

} // namespace vcam
