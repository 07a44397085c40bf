// Focus-only moves at the 10 ms VD rate, and the point to which focus moved by hand returns.
#pragma once

extern "C" {

/// Keep the present focus as the return point, unless one is kept already.
void lensMotorFocusHomeSet(void);

/// Forget the return point and drive the focus back to it; 0.
int lensMotorFocusHoming(void);
}
