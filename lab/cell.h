// A cell of an experiment: one search under one set of conditions. All its runs share them, and the
// same run of two cells sees the same unit, zoom, object and start.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "camera_options.h"
#include "searches.h"

namespace lab {

/// Conditions by name and text, in the order of their list; none that stands at its usual value.
using Settings = std::vector<std::pair<std::string, std::string>>;

struct Cell {
    const Search *search = nullptr;
    Settings settings;
};

/// "search=built-in noise=4 night=on": the same cell always has the same text.
std::string spell(const Cell &cell);

/// Read what spell() has written, in any order; empty, or what is wrong with it.
std::string readCell(const std::string &text, Cell &cell);

/// Add a setting in its place, in its shortest spelling; empty, or why it can't be.
std::string addSetting(const std::string &name, const std::string &text, Settings &settings);

/// The usual text when the cell does not set it.
std::string settingOf(const Cell &cell, const std::string &name);

/// Sixteen hexadecimal digits of the cell's text.
std::string hashOf(const Cell &cell);

/// Those that are the camera's.
void applySettings(const Cell &cell, vcam::CameraOptions &options);

} // namespace lab
