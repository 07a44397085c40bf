// A host in memory: it keeps what the library hands it, so that a scenario or a bench can say what
// was stored before and look at what is stored now.
#pragma once

#include <utility>
#include <vector>

#include "autofocus.h"

namespace vcam {

/// What it keeps for the library; set fields before the library starts as "stored".
struct Host {
    bool hasPosition = false;
    unsigned zoom = 0;
    unsigned focus = 0;
    bool hasFocusLine = false;
    FOCUS_POINT focusLine = {};
    bool hasPresets = false;
    PRESET_INF presets = {};
    int storeResult = 0; ///< What the Set callbacks return.
    std::vector<std::pair<unsigned, unsigned>> savedPositions;
    int savedFocusLines = 0;
    int savedPresetTables = 0;
    std::vector<int> dayNightRequests;
};

Host &host();

/// Register its callbacks and hand over the serial port, as a host does before it starts the
/// library.
void introduceHost();

} // namespace vcam
