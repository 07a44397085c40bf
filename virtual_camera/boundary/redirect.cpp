#include "boundary/redirect.h"

#include "clock/next_call.h"
#include "clock/thread_table.h"
#include "clock/unobserved.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ftw.h>
#include <iterator>
#include <sys/stat.h>

namespace vcam {

static const char *const kRedirectedPrefixes[] = {"/tmp/af", "/mnt/flash/"};
static const char *const kScratchFolders[] = {"", "/tmp", "/mnt", "/mnt/flash", "/mnt/flash/data"};
static constexpr int kMostOpenFolders = 8;

static std::string scratch;
static bool isOwnScratch;

static NextCall<int(const char *, mode_t)> nextMkdir{"mkdir"};
static NextCall<int(const char *)> nextRemove{"remove"};

const std::string &scratchFolder() {
    return scratch;
}

static bool makeOwnScratch() {
    const char *parent = getenv("TMPDIR");
    scratch = std::string(parent != nullptr ? parent : "/tmp") + "/camera-XXXXXX";
    isOwnScratch = mkdtemp(scratch.data()) != nullptr;
    return isOwnScratch;
}

bool makeScratch(const std::string &folder) {
    scratch = folder;
    if (folder.empty() && !makeOwnScratch())
        return false;
    for (const char *part : kScratchFolders) {
        if (nextMkdir((scratch + part).c_str(), 0777) != 0 && errno != EEXIST)
            return false;
    }
    return true;
}

static int removeEntry(const char *path, const struct stat *, int, struct FTW *) {
    return nextRemove(path);
}

void removeOwnScratch() {
    if (isOwnScratch)
        nftw(scratch.c_str(), removeEntry, kMostOpenFolders, FTW_DEPTH | FTW_PHYS);
    isOwnScratch = false;
}

static bool isRedirected(const char *path) {
    return std::any_of(
        std::begin(kRedirectedPrefixes), std::end(kRedirectedPrefixes),
        [path](const char *prefix) { return strncmp(path, prefix, strlen(prefix)) == 0; });
}

Redirected::Redirected(const char *path) : path_(path) {
    if (path == nullptr || !isRegisteredThread() || !isRedirected(path))
        return;
    const Unobserved unobserved;
    const int length = snprintf(room_, sizeof(room_), "%s%s", scratch.c_str(), path);
    if (length > 0 && static_cast<size_t>(length) < sizeof(room_))
        path_ = room_;
}

std::string redirectCommand(const char *command) {
    std::string redirected;
    for (const char *at = command; *at != '\0'; ++at) {
        const bool isPathStart = at == command || strchr(" '\"=<>", at[-1]) != nullptr;
        if (isPathStart && isRedirected(at))
            redirected += scratch;
        redirected += *at;
    }
    return redirected;
}

} // namespace vcam
