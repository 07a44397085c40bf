// Under which conditions a run can be made: the virtual camera's own options, and what the lab
// adds.
#pragma once

#include <string>
#include <vector>

namespace lab {

struct Condition {
    std::string name;
    std::string takes; ///< What its value is, for a list: "FACTOR".
    std::string meaning;
    std::string usual; ///< What goes without saying; empty: by chance, or nothing.
    bool isCameras;    ///< An option of the virtual camera.
    double least;      ///< Of the lab's own, which are numbers.
    double most;
};

/// The lab's own first, then the camera's in the order of its table.
const std::vector<Condition> &allConditions();

/// Its index in that list; npos: there is none of that name.
size_t placeOf(const std::string &name);
constexpr size_t kNowhere = static_cast<size_t>(-1);

/// Empty, or why a condition can't be that.
std::string complainOf(const Condition &condition, const std::string &text);

/// One spelling for each number: "4.0" and "+4" are "4".
std::string shorten(const std::string &text);

/// A condition by its usual name in a scene: "flicker" is 5 % of light at a slow beat.
struct Scene {
    const char *name;
    std::vector<std::pair<std::string, std::string>> settings;
};

const std::vector<Scene> &allScenes();

/// "plain, ...".
std::string nameScenes();

} // namespace lab
