// A tracked zoom to a known position, for direct zoom and presets. No command interrupts it.
#pragma once

#include "autofocus/types.h"

/**
 * Zoom toward @p zType until the counter equals @p target, the focus following the line that
 * g_FLineFlag selects; both motors stand at the end.
 *
 * Pulses before it counts, unlike the zoom that a held command drives. A start off the quarter grid
 * shortens the last period, so that the move stops on its target.
 *
 * @param caller  function name for the trace of a travel limit that ends the move early.
 */
void zoomToTarget(MS_Action_em zType, unsigned int target, const char *caller);
