// Single focus steps between two samples: which way, how far there is to go, and no further.
#pragma once

#include "autofocus/types.h"

MS_Action_em reverseFocus(MS_Action_em fType);

/// Steps left before @p limitN or @p limitF in direction @p fType; 0 or less: none.
int focusRunRange(MS_Action_em fType, unsigned int limitN, unsigned int limitF);

/// Whether a sample can be taken further on: there is range left, and a step to take, which there
/// is not before start-up.
inline bool hasWayOn(int runRange, unsigned char step) {
    return runRange > 0 && step != 0;
}

/// Clip @p step to @p runRange, programming the channel again when that shortens it.
void clipFocusStep(MS_Action_em fType, int runRange, unsigned char *step);
