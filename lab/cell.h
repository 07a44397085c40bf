// A cell of an experiment: one search under one set of the virtual camera's options. All its runs
// share them, and the same run of two cells sees the same unit, zoom, object and start.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "camera_options.h"
#include "option_table.h"
#include "searches.h"

namespace lab {

/// Conditions by name and text, in the order of their tables; none that stands at its default.
using Settings = std::vector<std::pair<std::string, std::string>>;

struct Cell {
    const Search *search = nullptr;
    Settings settings;
};

/// A condition that is no option of the camera: it says how a run draws its place.
struct DrawCondition {
    const char *name;
    const char *takes;
    const char *meaning;
    const char *preset;
    double least;
    double most;
};

const std::vector<DrawCondition> &drawConditions();

/// What the cell has for one of them.
double drawValueOf(const Cell &cell, const std::string &name);

/// Whether an option of the camera makes sense as a condition of a run.
bool isCondition(const vcam::Option &option);

/// "search=built-in noise=4 night=on": the same cell always has the same text.
std::string spell(const Cell &cell);

/// Read what spell() has written, in any order; empty, or what is wrong with it.
std::string readCell(const std::string &text, Cell &cell);

/// Add a setting in its place, in its shortest spelling; empty, or why it can't be.
std::string addSetting(const std::string &name, const std::string &text, Settings &settings);

/// "" when the cell does not set it.
std::string settingOf(const Cell &cell, const std::string &name);

/// What a numeric condition is in a cell that does not set it.
double defaultOf(const std::string &name);

/// Sixteen hexadecimal digits of the cell's text.
std::string hashOf(const Cell &cell);

void applySettings(const Cell &cell, vcam::CameraOptions &options);

} // namespace lab
