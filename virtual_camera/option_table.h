// The virtual camera's options, said once: whoever makes a camera of words (a command line, the
// environment) offers these, by the same names and with the same complaints.
#pragma once

#include <string>
#include <vector>

#include "camera_options.h"

namespace vcam {

struct Option {
    std::string name;      ///< Lower case, '-' between words: "zoom-start" is --zoom-start.
    std::string takes;     ///< What its value is, for a list: "A or B"; empty: a switch.
    std::string meaning;   ///< With the default, where that does not go without saying.
    std::string complaint; ///< Stands behind a value that it can't have: "is no ...".
    bool (*take)(const std::string &text, CameraOptions &options); ///< False: it can't be that.
};

/// All of them, in the order in which people want to read them.
const std::vector<Option> &allOptions();

/// A switch takes "on" or "off".
bool isSwitch(const Option &option);

/// Set an option; empty, or why not: "C is no lens model: A or B". Then @p options stay as they
/// are.
std::string takeOption(const Option &option, const std::string &text, CameraOptions &options);

/// A whole number in decimal digits and nothing else.
bool parseWhole(const std::string &text, uint64_t &number);

} // namespace vcam
