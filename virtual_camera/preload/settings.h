// What a run under a host that nobody rebuilt is told by environment variables.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "camera_options.h"
#include "option_table.h"
#include "preload/script.h"

namespace vcam {

struct RunSettings {
    CameraOptions camera;
    bool isForced = false; ///< Power on in a program that does not have the library loaded (yet).
    std::vector<ScriptEvent> script;
    int64_t endUs = 0; ///< When the run ends; kForeverUs: when the host does.
};

/// From VIRTUAL_CAMERA_...; false with @p error saying which variable is wrong, and why. A variable
/// of that prefix that is not known is an error too: it is a slip of the pen.
bool readSettings(RunSettings &settings, std::string &error);

/// The variable of an option.
std::string nameVariable(const Option &option);

} // namespace vcam
