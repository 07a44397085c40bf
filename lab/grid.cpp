#include "grid.h"

#include <set>
#include <sstream>

#include "condition.h"
#include "searches.h"

namespace lab {

std::vector<std::string> splitList(const std::string &list) {
    std::vector<std::string> parts;
    std::istringstream words(list);
    std::string part;
    while (std::getline(words, part, ','))
        parts.push_back(part);
    if (list.empty() || list.back() == ',')
        parts.emplace_back();
    return parts;
}

static std::string addScene(const std::string &name, Settings &settings) {
    for (const Scene &scene : allScenes()) {
        if (name != scene.name)
            continue;
        std::string complaint;
        for (const auto &[condition, value] : scene.settings)
            complaint += addSetting(condition, value, settings);
        return complaint;
    }
    return name + " is no scene: " + nameScenes();
}

static std::string cross(const Axis &axis, std::vector<Cell> &cells) {
    std::vector<Cell> crossed;
    for (const Cell &cell : cells) {
        for (const std::string &value : axis.second) {
            Cell with = cell;
            std::string complaint = axis.first == "scene"
                                        ? addScene(value, with.settings)
                                        : addSetting(axis.first, value, with.settings);
            if (!complaint.empty())
                return complaint;
            crossed.push_back(with);
        }
    }
    cells = crossed;
    return "";
}

std::string makeCells(const std::vector<std::string> &searches, const std::vector<Axis> &axes,
                      std::vector<Cell> &cells) {
    std::vector<Cell> all;
    for (const std::string &name : searches) {
        const Search *search = findSearch(name);
        if (search == nullptr)
            return name + " is no search: " + nameSearches();
        all.push_back({search, {}});
    }
    for (const Axis &axis : axes) {
        if (std::string complaint = cross(axis, all); !complaint.empty())
            return complaint;
    }
    std::set<std::string> known;
    for (const Cell &cell : all) {
        if (known.insert(spell(cell)).second)
            cells.push_back(cell);
    }
    return "";
}

} // namespace lab
