// The searches that the lab compares: the library's own, by its settings, and rivals written from
// their published descriptions, which drive the same lens by the same statistics.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace lab {

struct Cell;
class RivalLens;

/// What a rival does in the library's place: on the caller's thread, from where the lens stands.
using RivalSearch = void (*)(RivalLens &lens);

struct Search {
    const char *name;
    const char *meaning;
    RivalSearch rival; ///< nullptr: the library's.
    /// Of the library, an AF_Setting_em and its value; an option's name in the place of a value
    /// stands for what the cell sets it to.
    std::vector<std::pair<int, std::string>> librarySettings;
};

const std::vector<Search> &allSearches();

/// nullptr: there is none of that name.
const Search *findSearch(const std::string &name);

/// "built-in, ...".
std::string nameSearches();

/// The library's settings under the cell's conditions: which, and their values.
std::vector<std::pair<int, int>> librarySettingsOf(const Cell &cell);

/// Make the library's settings for a cell's search; false when the library refuses one.
bool makeLibrarySettings(const Cell &cell);

} // namespace lab
