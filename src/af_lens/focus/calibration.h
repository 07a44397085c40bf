// The measurement of the unit's infinity line in front of a distant, detailed target.
#pragma once

#include "autofocus/calibration.h" // IWYU pragma: export

/// Lens_Generate_FocusLine2(), then CMD_NONE in the place of command @p seen; another command that
/// has come meanwhile stays. False when the former line stays, too: no home, no peak, cancelled.
bool obeyCalibration(unsigned int seen);
