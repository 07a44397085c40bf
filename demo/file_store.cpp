#include "file_store.h"

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace demo {

static constexpr mode_t kFileMode = 0644;

FileStore::FileStore(const std::string &folderPath) : folder(folderPath) {
    std::error_code ignored; // a folder that cannot be made shows at the first write
    std::filesystem::create_directories(folder, ignored);
}

static bool writeAndFlush(const std::string &path, const void *record, size_t size) {
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, kFileMode);
    if (fd < 0)
        return false;
    const bool written = ::write(fd, record, size) == static_cast<ssize_t>(size) && fsync(fd) == 0;
    return close(fd) == 0 && written;
}

/// A rename is on the disk when its folder is.
static bool flushFolder(const std::string &path) {
    const int fd = open(path.c_str(), O_RDONLY | O_DIRECTORY);
    if (fd < 0)
        return false;
    const bool flushed = fsync(fd) == 0;
    return close(fd) == 0 && flushed;
}

bool FileStore::write(const char *name, const void *record, size_t size) const {
    const std::string path = folder + "/" + name;
    const std::string fresh = path + ".new";
    const std::lock_guard<std::mutex> onlyWriter(writing);
    return writeAndFlush(fresh, record, size) && rename(fresh.c_str(), path.c_str()) == 0 &&
           flushFolder(folder);
}

bool FileStore::read(const char *name, void *record, size_t size) const {
    const int fd = open((folder + "/" + name).c_str(), O_RDONLY);
    if (fd < 0)
        return false;
    struct stat info = {};
    const bool whole = fstat(fd, &info) == 0 && info.st_size == static_cast<off_t>(size) &&
                       ::read(fd, record, size) == static_cast<ssize_t>(size);
    close(fd);
    return whole;
}

} // namespace demo
