// Where the demo's host keeps what the library hands it: one small file a record in a folder.
//
// A record is written beside its file, flushed and renamed over it, so that a kill at any instant
// leaves the old or the new content, never half. Callbacks of several threads may call it: one
// writes, the others wait, since the file beside is one.
#pragma once

#include <cstddef>
#include <mutex>
#include <string>

namespace demo {

class FileStore {
public:
    /// Make the folder if it is missing.
    explicit FileStore(const std::string &folderPath);

    /// Replace the record @p name; false when the disk refuses.
    bool write(const char *name, const void *record, size_t size) const;

    /// Fill @p record; false when there is none or it has another size.
    bool read(const char *name, void *record, size_t size) const;

    const std::string &path() const { return folder; }

private:
    std::string folder;
    mutable std::mutex writing;
};

} // namespace demo
