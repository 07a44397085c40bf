// Half the depth of focus: how far, in focus steps, the focus may be off before blur begins to
// show.
#pragma once

/// At zoom tag @p index1, 0 to 15.
float halfDepthSteps(int index1);
