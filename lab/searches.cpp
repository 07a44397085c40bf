#include "searches.h"

#include <algorithm>
#include <cstdlib>

#include "autofocus_control.h"
#include "cell.h"
#include "rivals/rivals.h"

namespace lab {

const std::vector<Search> &allSearches() {
    const std::string slack = "backlash-focus";
    const std::string late = "delay";
    static const std::vector<Search> table = {
        {"built-in", "the library's, as it is at load", nullptr, {}},
        {"built-in-slack",
         "the same, told of the lens's backlash",
         nullptr,
         {{AF_SETTING_FOCUS_BACKLASH, slack}}},
        {"robust",
         "the library's robust search, told of backlash and delay",
         nullptr,
         {{AF_SETTING_FOCUS_SEARCH, "1"},
          {AF_SETTING_FOCUS_BACKLASH, slack},
          {AF_SETTING_STATISTICS_DELAY, late}}},
        {"robust-untold",
         "the same, told that the delay is not known, and of no backlash",
         nullptr,
         {{AF_SETTING_FOCUS_SEARCH, "1"}, {AF_SETTING_STATISTICS_DELAY, "-1"}}},
        {"following",
         "the robust search, told of backlash and delay, and zooming on the object",
         nullptr,
         {{AF_SETTING_FOCUS_SEARCH, "1"},
          {AF_SETTING_FOCUS_BACKLASH, slack},
          {AF_SETTING_STATISTICS_DELAY, late},
          {AF_SETTING_TRACKING, "1"}}},
        {"full-scan", "every half depth of the range, and a parabola", scanFully, {}},
        {"golden", "golden section over the range", searchByGoldenSection, {}},
        {"hill", "hill climbing, and a parabola", climbHill, {}},
        {"coarse-fine", "scans of ten positions, five frames each", scanCoarseToFine, {}},
        {"blur", "planted: goes to the lowest value", seekBlur, {}},
    };
    return table;
}

const Search *findSearch(const std::string &name) {
    for (const Search &search : allSearches()) {
        if (search.name == name)
            return &search;
    }
    return nullptr;
}

std::string nameSearches() {
    std::string names;
    for (const Search &search : allSearches())
        names += (names.empty() ? "" : ", ") + std::string(search.name);
    return names;
}

static int valueOf(const std::string &value, const Cell &cell) {
    const bool isNumber = value.find_first_not_of("-0123456789") == std::string::npos;
    return atoi((isNumber ? value : settingOf(cell, value)).c_str());
}

std::vector<std::pair<int, int>> librarySettingsOf(const Cell &cell) {
    std::vector<std::pair<int, int>> settings;
    for (const auto &[setting, value] : cell.search->librarySettings)
        settings.emplace_back(setting, valueOf(value, cell));
    return settings;
}

bool makeLibrarySettings(const Cell &cell) {
    const std::vector<std::pair<int, int>> settings = librarySettingsOf(cell);
    return std::all_of(settings.begin(), settings.end(), [](const auto &setting) {
        return AF_Manager_Set_Setting_API(setting.first, setting.second) == 0;
    });
}

} // namespace lab
