// Where the paths that the library uses lead: /tmp/af... and /mnt/flash/... into the scratch
// folder, so that a scenario neither sees nor leaves anything on the machine.
#pragma once

#include <climits>
#include <string>

namespace vcam {

/// Make the scratch folder and what the library expects in it; with an empty path one of our own
/// that goes with removeOwnScratch. False when it cannot be made.
bool makeScratch(const std::string &folder);

/// Remove the scratch folder if nobody asked for it by name.
void removeOwnScratch();

/// The scratch folder, without a final slash.
const std::string &scratchFolder();

/// A path as libc is to see it; lives as long as this object.
class Redirected {
public:
    explicit Redirected(const char *path);
    operator const char *() const { return path_; }
    Redirected(const Redirected &) = delete;
    Redirected &operator=(const Redirected &) = delete;

private:
    const char *path_;
    char room_[PATH_MAX];
};

/// The same for every such path in a shell command.
std::string redirectCommand(const char *command);

} // namespace vcam
