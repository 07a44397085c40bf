#include "cell.h"

#include <algorithm>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <sstream>

#include "condition.h"
#include "option_table.h"

namespace lab {

std::string addSetting(const std::string &name, const std::string &text, Settings &settings) {
    const size_t place = placeOf(name);
    if (place == kNowhere)
        return name + " is no condition of a run";
    const Condition &condition = allConditions()[place];
    const std::string complaint = complainOf(condition, text);
    if (!complaint.empty())
        return name + ": " + complaint;
    if (text.find_first_of(" ,\n") != std::string::npos)
        return name + ": '" + text + "' has a blank or a comma in it";
    const auto at = std::find_if(settings.begin(), settings.end(), [place](const auto &setting) {
        return placeOf(setting.first) >= place;
    });
    if (at != settings.end() && at->first == name)
        return name + " is said twice";
    if (shorten(text) != condition.usual)
        settings.insert(at, {name, shorten(text)});
    return "";
}

std::string spell(const Cell &cell) {
    std::string text = std::string("search=") + cell.search->name;
    for (const auto &[name, value] : cell.settings)
        text.append(" ").append(name).append("=").append(value);
    return text;
}

static std::string addWord(const std::string &word, Cell &cell) {
    const size_t equals = word.find('=');
    if (equals == std::string::npos)
        return word + " is no NAME=VALUE";
    const std::string name = word.substr(0, equals);
    const std::string value = word.substr(equals + 1);
    if (name != "search")
        return addSetting(name, value, cell.settings);
    cell.search = findSearch(value);
    return cell.search != nullptr ? "" : value + " is no search: " + nameSearches();
}

std::string readCell(const std::string &text, Cell &cell) {
    cell = {findSearch("built-in"), {}};
    std::istringstream words(text);
    std::string word;
    std::string complaint;
    while (complaint.empty() && words >> word)
        complaint = addWord(word, cell);
    return complaint;
}

std::string settingOf(const Cell &cell, const std::string &name) {
    for (const auto &[setting, value] : cell.settings) {
        if (setting == name)
            return value;
    }
    const size_t place = placeOf(name);
    return place == kNowhere ? "" : allConditions()[place].usual;
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
    for (const auto &[name, value] : cell.settings) {
        if (allConditions()[placeOf(name)].isCameras)
            vcam::takeOption(*vcam::findOption(name), value, options);
    }
}

} // namespace lab
