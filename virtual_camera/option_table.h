// The virtual camera's options, said once: whoever makes a camera of words (a command line, the
// environment) or changes it while it runs (a page, an experiment) offers these, by the same names
// and with the same complaints.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "camera_options.h"

namespace vcam {

/// Of an option that is a number: what it may be, and what a slider may do with it.
struct Range {
    double least;
    double most;
    double step;  ///< 1 for whole numbers.
    double usual; ///< The default.
};

struct Option {
    std::string name;      ///< Lower case, '-' between words: "zoom-start" is --zoom-start.
    std::string takes;     ///< What its value is, for a list: "A or B"; empty: a switch.
    std::string meaning;   ///< With the default, where that does not go without saying.
    std::string complaint; ///< Stands behind a value that it can't have: "is no ...".
    /// False: it can't be that.
    std::function<bool(const std::string &text, CameraOptions &options)> take;
    void (*apply)(const CameraOptions &options) =
        nullptr;      ///< To the camera that runs; null: never.
    Range range = {}; ///< Of a number that people turn, else all 0.
};

/// The one of a name; null: there is none.
const Option *findOption(const std::string &name);

/// All of them, in the order in which people want to read them.
const std::vector<Option> &allOptions();

/// A switch takes "on" or "off".
bool isSwitch(const Option &option);

/// Set an option; empty, or why not: "C is no lens model: A or B". Then @p options stay as they
/// are.
std::string takeOption(const Option &option, const std::string &text, CameraOptions &options);

/// The same of the camera that runs, whose present options these are; "seed is chosen before the
/// camera starts" for one that can't be.
std::string changeOption(const Option &option, const std::string &text, CameraOptions &options);

/// A setting of the library that an option makes: an AF_Setting_em and its value.
struct LibrarySetting {
    const char *option;
    int setting;
    int value;
};

/// What the host of this camera sets before it starts the library.
std::vector<LibrarySetting> librarySettings(const CameraOptions &options);

/// A whole number in decimal digits and nothing else.
bool parseWhole(const std::string &text, uint64_t &number);

} // namespace vcam
