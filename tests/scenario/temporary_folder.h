#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace scenario {

/// All that is in @p file; nothing if there is none.
inline std::string readAll(const std::string &file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// A new folder, which goes with this object and all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        if (mkdtemp(path_) == nullptr)
            abort();
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;
    std::string path() const { return path_; }
    std::string file(const std::string &name) const { return path_ + ("/" + name); }

private:
    char path_[32] = "/tmp/autofocus-XXXXXX";
};

} // namespace scenario
