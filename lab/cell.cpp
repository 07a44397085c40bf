#include "cell.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <sstream>

namespace lab {

/// What a run draws for itself, and what belongs to a person who looks on.
static const std::set<std::string> kNoConditions = {
    "seed",       "pace",        "vcd",     "trace",    "console", "serial",        "scratch",
    "zoom-start", "focus-start", "replies", "recovery", "ties",    "kernel-threads"};

bool isCondition(const vcam::Option &option) {
    return kNoConditions.count(option.name) == 0;
}

const std::vector<DrawCondition> &drawConditions() {
    static const std::vector<DrawCondition> table = {
        {"nearest", "METRES", "objects stand evenly in dioptres between here and infinity", "1.5",
         1.5, 1000},
    };
    return table;
}

static const DrawCondition *findDraw(const std::string &name) {
    for (const DrawCondition &condition : drawConditions()) {
        if (name == condition.name)
            return &condition;
    }
    return nullptr;
}

/// Of a camera's option in its table; draws come before all of them.
static size_t placeOf(const std::string &name) {
    if (findDraw(name) != nullptr)
        return 0;
    const auto &options = vcam::allOptions();
    const auto found =
        std::find_if(options.begin(), options.end(),
                     [&name](const vcam::Option &option) { return option.name == name; });
    return static_cast<size_t>(found - options.begin()) + 1;
}

/// One spelling for each number: "4.0" and "+4" are "4".
static std::string shorten(const std::string &text) {
    char *end = nullptr;
    const double number = strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0')
        return text;
    char shortest[32];
    snprintf(shortest, sizeof shortest, "%.12g", number);
    return shortest;
}

/// Written out they would make two cells of one.
static const Settings &defaults() {
    static const Settings table = {{"nearest", "1.5"},   {"noise", "1"},
                                   {"night", "off"},     {"frame-rate", "25"},
                                   {"gaussian", "off"},  {"built-in-curves", "off"},
                                   {"no-texture", "off"}};
    return table;
}

static bool isDefault(const std::string &name, const std::string &text) {
    const Settings &table = defaults();
    return std::find(table.begin(), table.end(), std::make_pair(name, text)) != table.end();
}

double defaultOf(const std::string &name) {
    for (const auto &[option, text] : defaults()) {
        if (option == name)
            return atof(text.c_str());
    }
    return 0;
}

static std::string complainOfDraw(const DrawCondition &draw, const std::string &text) {
    char *end = nullptr;
    const double value = strtod(text.c_str(), &end);
    const bool isGood = !text.empty() && *end == '\0' && value >= draw.least && value <= draw.most;
    return isGood ? "" : text + " is no number from " + draw.preset + " on";
}

static std::string complainOf(const std::string &name, const std::string &text) {
    if (const DrawCondition *draw = findDraw(name); draw != nullptr)
        return complainOfDraw(*draw, text);
    const auto &options = vcam::allOptions();
    const size_t place = placeOf(name);
    if (place > options.size() || !isCondition(options[place - 1]))
        return "no condition of a run";
    vcam::CameraOptions unused;
    return vcam::takeOption(options[place - 1], text, unused);
}

double drawValueOf(const Cell &cell, const std::string &name) {
    const std::string text = settingOf(cell, name);
    return atof(text.empty() ? findDraw(name)->preset : text.c_str());
}

std::string addSetting(const std::string &name, const std::string &text, Settings &settings) {
    const size_t place = placeOf(name);
    const std::string complaint = complainOf(name, text);
    if (!complaint.empty())
        return name + ": " + complaint;
    if (text.find_first_of(" ,\n") != std::string::npos)
        return name + ": " + text + " has a blank or a comma in it";
    const auto at = std::find_if(settings.begin(), settings.end(), [place](const auto &setting) {
        return placeOf(setting.first) >= place;
    });
    if (at != settings.end() && at->first == name)
        return name + " is said twice";
    if (!isDefault(name, shorten(text)))
        settings.insert(at, {name, shorten(text)});
    return "";
}

std::string spell(const Cell &cell) {
    std::string text = std::string("search=") + cell.search->name;
    for (const auto &[name, value] : cell.settings)
        text += " " + name + "=" + value;
    return text;
}

std::string readCell(const std::string &text, Cell &cell) {
    cell = {findSearch("built-in"), {}};
    std::istringstream words(text);
    std::string word;
    while (words >> word) {
        const size_t equals = word.find('=');
        if (equals == std::string::npos)
            return word + " is no NAME=VALUE";
        const std::string name = word.substr(0, equals);
        const std::string value = word.substr(equals + 1);
        if (name == "search") {
            cell.search = findSearch(value);
            if (cell.search == nullptr)
                return value + " is no search: " + nameSearches();
        } else if (std::string complaint = addSetting(name, value, cell.settings);
                   !complaint.empty()) {
            return complaint;
        }
    }
    return "";
}

std::string settingOf(const Cell &cell, const std::string &name) {
    for (const auto &[setting, value] : cell.settings) {
        if (setting == name)
            return value;
    }
    return "";
}

/// FNV-1a.
std::string hashOf(const Cell &cell) {
    uint64_t hash = 0xCBF29CE484222325;
    for (const char letter : spell(cell))
        hash = (hash ^ static_cast<unsigned char>(letter)) * 0x100000001B3;
    char digits[17];
    snprintf(digits, sizeof digits, "%016" PRIx64, hash);
    return digits;
}

void applySettings(const Cell &cell, vcam::CameraOptions &options) {
    const auto &table = vcam::allOptions();
    for (const auto &[name, value] : cell.settings) {
        if (findDraw(name) == nullptr)
            vcam::takeOption(table[placeOf(name) - 1], value, options);
    }
}

} // namespace lab
