// The lens model as start-up builds it, without a host, for benchmarks and unit tests.
#pragma once

#include "af_lens/model/lens_state.h"
#include "af_lens/model/zoom_grid.h"
#include "af_lens/model/zoom_ratio.h"
#include "autofocus.h"
#include "autofocus/focus_lines.h"
#include "autofocus/settings.h"

/// LENS_B's geometry, grid, built-in focus lines and the maps of 18 ratios; the lens stands parked.
inline void buildLens(int sensor) {
    g_LensType = LENS_B;
    g_SensType = sensor;
    Lens_Init_GlobalVariable();
    Lens_Init_ZoomStep();
    Lens_Init_OSDMultiple(kFewestRatios);
    buildRatioMaps();
    g_FLineInfo = {};
    Lens_Init_FLineInfo();
    Lens_Init_2MFocusLine();
    Lens_Init_Interpolation();
    Lens_Set_FocusStep();
    g_FLineFlag = 0;
    setPosition(ZM_Wide_Limit, g_FLineInfo.tagPosition[0][0]);
}
