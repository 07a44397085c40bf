// Focus-only moves at the 10 ms VD rate, and the point to which focus moved by hand returns.
#pragma once

#include "autofocus/types.h"

extern "C" {

/// Keep the present focus as the return point, unless one is kept already.
void lensMotorFocusHomeSet(void);

/// Forget the return point and drive the focus back to it; 0.
int lensMotorFocusHoming(void);
}

/// Focus run that goes on while @p standing is in the mailbox, no order waits and none is
/// cancelled.
void runFocusWhile(MS_Action_em fType, int fSteps, unsigned int standing);
