#include "condition.h"

#include <cstdio>
#include <cstdlib>
#include <set>

#include "camera_options.h"
#include "option_table.h"

namespace lab {

static bool isCondition(const vcam::Option &option) {
    // What a run draws for itself, and what belongs to a person who looks on.
    static const std::set<std::string> others = {
        "seed",       "pace",        "vcd",     "trace",    "console", "serial",        "scratch",
        "zoom-start", "focus-start", "replies", "recovery", "ties",    "kernel-threads"};
    return others.count(option.name) == 0;
}

std::string shorten(const std::string &text) {
    char *end = nullptr;
    const double number = strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0')
        return text;
    char shortest[32];
    snprintf(shortest, sizeof shortest, "%.12g", number);
    return shortest;
}

static std::string usualOf(const vcam::Option &option) {
    if (option.range.most > option.range.least)
        return shorten(std::to_string(option.range.usual));
    if (option.name == "frame-rate")
        return "25";
    return vcam::isSwitch(option) ? "off" : "";
}

/// What the camera takes for granted, a run draws.
static std::string meaningOf(const vcam::Option &option) {
    if (option.name == "lens")
        return "lens model; both in turn unless given";
    if (option.name == "distance")
        return "where every object stands, from 1 m to inf; by chance unless given";
    return option.meaning;
}

static std::vector<Condition> makeConditions() {
    std::vector<Condition> all = {
        {"nearest", "METRES",
         "objects stand evenly in dioptres between here and infinity; 1.5 unless given", "1.5",
         false, 1.5, 1000},
        {"calibrated", "0|1", "1: the unit has measured its own focus curve before", "0", false, 0,
         1},
        {"light-step", "FACTOR", "on the light from 0.4 s after the order on", "1", false, 0.1, 4},
    };
    for (const vcam::Option &option : vcam::allOptions()) {
        if (isCondition(option))
            all.push_back({option.name, vcam::isSwitch(option) ? "on|off" : option.takes,
                           meaningOf(option), usualOf(option), true, 0, 0});
    }
    return all;
}

const std::vector<Condition> &allConditions() {
    static const std::vector<Condition> all = makeConditions();
    return all;
}

size_t placeOf(const std::string &name) {
    const std::vector<Condition> &all = allConditions();
    for (size_t place = 0; place < all.size(); ++place) {
        if (all[place].name == name)
            return place;
    }
    return kNowhere;
}

std::string complainOf(const Condition &condition, const std::string &text) {
    if (condition.isCameras) {
        vcam::CameraOptions unused;
        return vcam::takeOption(*vcam::findOption(condition.name), text, unused);
    }
    char *end = nullptr;
    const double value = strtod(text.c_str(), &end);
    const bool isGood =
        !text.empty() && *end == '\0' && value >= condition.least && value <= condition.most;
    return isGood ? ""
                  : text + " is no number from " + shorten(std::to_string(condition.least)) +
                        " to " + shorten(std::to_string(condition.most));
}

const std::vector<Scene> &allScenes() {
    static const std::vector<Scene> scenes = {
        {"plain", {}},
        {"low-contrast", {{"contrast", "0.05"}}},
        {"flat", {{"contrast", "0"}}},
        {"flicker", {{"flicker", "0.05"}}},
        {"light-step", {{"light-step", "1.5"}}},
        {"two-depths", {{"second-distance", "3"}}},
        {"moving", {{"approach", "0.02"}}},
    };
    return scenes;
}

std::string nameScenes() {
    std::string names;
    for (const Scene &scene : allScenes())
        names += (names.empty() ? "" : ", ") + std::string(scene.name);
    return names;
}

} // namespace lab
