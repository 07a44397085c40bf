// A move of both axes by a number of steps that is known before. Like every move it is a sequence
// of VD periods: program the channels, pulse, and the pulse returns when the period is over. Runs
// on the thread that drives the motors.
#pragma once

#include "autofocus/types.h"

extern "C" {

/**
 * Counted move of both axes at once with a speed ramp. No limit check.
 *
 * The counters change once, after the move, by the whole totals; nothing is published.
 * @param zType,zSteps  zoom direction and steps, 0 or more; @p fType, @p fSteps the focus's.
 */
void Lens_Move_NSteps(MS_Action_em zType, int zSteps, MS_Action_em fType, int fSteps);
}
