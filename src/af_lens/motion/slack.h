// The slack of the focus's gear, as it is set. Positions that the library drives to are approached
// in the direction far, so that the lens stands at the same place whenever the counter does.
#pragma once

#include "autofocus/types.h"

/// Steps; 0: none.
int focusBacklash();

/// Drive to @p target arriving in direction @p fType, from the start of a run-up if need be.
/// Interrupted like lensMotorFocusRun(). @return the same.
int approachFocus(MS_Action_em fType, unsigned int target);

/// The lens stands where it was driven from either side: with a backlash, arrive there anew.
void takeUpFocusSlack();
