// The move primitives that every lens command is built from. A move is a sequence of VD periods:
// program the channels, pulse, and the pulse returns when the period is over. Runs on the thread
// that drives the motors.
#pragma once

#include "autofocus/types.h"

extern "C" {

/// Bit @p n of the result of the limit check.
inline int BIT(int res, int n) {
    return (res >> n) & 1;
}

/**
 * Counted move of both axes at once with a speed ramp. No limit check.
 *
 * The counters change once, after the move, by the whole totals; nothing is published.
 * @param zType,zSteps  zoom direction and steps, 0 or more; @p fType, @p fSteps the focus's.
 */
void Lens_Move_NSteps(MS_Action_em zType, int zSteps, MS_Action_em fType, int fSteps);
}

static const int kZoomBlocked = 0;  ///< Bit of the limit check's result.
static const int kFocusBlocked = 1; ///< Bit of the limit check's result.

/// Brake both channels, LEDs off, and let a 25 ms period pass.
void brakeBothChannels();

/// Brake the focus channel, LED off, and let a 10 ms period pass.
void brakeFocus();

/// Unsigned distance of two positions as a count of steps.
inline int stepsBetween(unsigned int a, unsigned int b) {
    return static_cast<int>(a > b ? a - b : b - a);
}
