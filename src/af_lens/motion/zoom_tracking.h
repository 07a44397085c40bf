// Zoom with the focus following a focus line, one quarter of a zoom section a period.
#pragma once

#include "autofocus/types.h"

/// One tracking period: zoom steps, focus steps and focus direction.
struct TrackedStep {
    unsigned char zStep;
    unsigned char fStep;
    MS_Action_em fType;
};

/// Choose the line that a zoom toward @p zType follows: the object's, else chooseLineToward().
bool chooseTrackedLine(MS_Action_em zType);

/// Where the object is followed, shorten the focus step of a zoom step of @p planned that was
/// clipped.
void followInProportion(TrackedStep *step, unsigned char planned);

/// The next period toward @p zType, clipped to the limits; false when the zoom may not go further.
bool planTrackedStep(MS_Action_em zType, TrackedStep *step);

/// Program both channels for @p step.
void programTrackedStep(MS_Action_em zType, const TrackedStep &step);

bool isSameStep(const TrackedStep &a, const TrackedStep &b);
