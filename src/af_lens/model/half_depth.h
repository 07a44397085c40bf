// Half the depth of focus: how far, in focus steps, the focus may be off before blur begins to
// show. A table for the usual lens, and what the fine passes of the robust search have measured of
// this one.
#pragma once

/// At zoom tag @p index1, 0 to 15.
float halfDepthSteps(int index1);

/// A pass has found it to be @p factor times what halfDepthSteps() says there; half to twice are
/// believed, a quarter of the way each time. Lens-control thread.
void learnHalfDepth(int index1, float factor);

/// Back to the table: the robust search is off.
void forgetHalfDepths();
