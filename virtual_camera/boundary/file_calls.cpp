// Calls that name a file: the simulated devices' paths, and the paths that lead into the scratch
// folder. On threads that are not registered a path is left as it is.
#include "boundary/absent_file.h"
#include "boundary/faults.h"
#include "boundary/placeholders.h"
#include "boundary/redirect.h"
#include "clock/next_call.h"
#include "clock/scheduler.h"
#include "clock/thread_table.h"
#include "clock/unobserved.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vcam {

using OpenCall = int(const char *, int, ...);
using OpenAtCall = int(int, const char *, int, ...);
using StatCall = int(const char *, struct stat *);
using Stat64Call = int(const char *, struct stat64 *);

static NextCall<OpenCall> nextOpen{"open"};
static NextCall<OpenCall> nextOpen64{"open64"};
static NextCall<OpenAtCall> nextOpenat{"openat"};
static NextCall<OpenAtCall> nextOpenat64{"openat64"};
static NextCall<FILE *(const char *, const char *)> nextFopen{"fopen"};
static NextCall<FILE *(const char *, const char *)> nextFopen64{"fopen64"};
static NextCall<DIR *(const char *)> nextOpendir{"opendir"};
static NextCall<int(const char *, int)> nextAccess{"access"};
static NextCall<int(const char *)> nextUnlink{"unlink"};
static NextCall<int(const char *)> nextRemove{"remove"};
static NextCall<int(const char *)> nextRmdir{"rmdir"};
static NextCall<int(const char *, mode_t)> nextMkdir{"mkdir"};
static NextCall<int(const char *, mode_t)> nextChmod{"chmod"};
static NextCall<int(const char *, const char *)> nextRename{"rename"};
static NextCall<StatCall> nextStat{"stat"};
static NextCall<StatCall> nextLstat{"lstat"};
static NextCall<Stat64Call> nextStat64{"stat64"};
static NextCall<Stat64Call> nextLstat64{"lstat64"};

static bool mayMakeFile(int flags) {
    return (flags & (O_CREAT | __O_TMPFILE)) != 0;
}

/// The part of every open that does not depend on its variant: true when it has been answered.
static bool answerOpen(const char *path, int flags, int &result) {
    if (mayMakeFile(flags))
        forgetAbsent();
    if (!isRegisteredThread() || path == nullptr)
        return false;
    const Unobserved unobserved;
    chargeCall();
    result = -1;
    if (failsNow("open", path))
        return true;
    const Device device = findDeviceByPath(path);
    if (device == Device::None)
        return false;
    result = openPlaceholder(device);
    return true;
}

static int openFile(NextCall<OpenCall> &next, const char *path, int flags, mode_t mode) {
    int result = -1;
    return answerOpen(path, flags, result) ? result : next(Redirected(path), flags, mode);
}

static int openFileAt(NextCall<OpenAtCall> &next, int folder, const char *path, int flags,
                      mode_t mode) {
    int result = -1;
    return answerOpen(path, flags, result) ? result : next(folder, Redirected(path), flags, mode);
}

static FILE *openStream(NextCall<FILE *(const char *, const char *)> &next, const char *path,
                        const char *mode) {
    forgetAbsent();
    return failsNow("fopen", path) ? nullptr : next(Redirected(path), mode);
}

static int look(const char *path, int mode) {
    const bool isOurs = isRegisteredThread() && path != nullptr;
    if (isOurs && isKnownAbsent(path)) {
        errno = ENOENT;
        return -1;
    }
    const int result = nextAccess(Redirected(path), mode);
    if (isOurs && result != 0 && errno == ENOENT)
        noteAbsent(path);
    return result;
}

/// The third argument of open, which is there only when a file may be made.
static mode_t takeMode(int flags, va_list arguments) {
    return mayMakeFile(flags) ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
}

} // namespace vcam

// ======== the calls that we override: nothing above calls one of them
#pragma GCC visibility push(default)
extern "C" {

int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = vcam::takeMode(flags, arguments);
    va_end(arguments);
    return vcam::openFile(vcam::nextOpen, path, flags, mode);
}

int open64(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = vcam::takeMode(flags, arguments);
    va_end(arguments);
    return vcam::openFile(vcam::nextOpen64, path, flags, mode);
}

int __open_2(const char *path, int flags) {
    return vcam::openFile(vcam::nextOpen, path, flags, 0);
}

int __open64_2(const char *path, int flags) {
    return vcam::openFile(vcam::nextOpen64, path, flags, 0);
}

int openat(int folder, const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = vcam::takeMode(flags, arguments);
    va_end(arguments);
    return vcam::openFileAt(vcam::nextOpenat, folder, path, flags, mode);
}

int openat64(int folder, const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = vcam::takeMode(flags, arguments);
    va_end(arguments);
    return vcam::openFileAt(vcam::nextOpenat64, folder, path, flags, mode);
}

int __openat_2(int folder, const char *path, int flags) {
    return vcam::openFileAt(vcam::nextOpenat, folder, path, flags, 0);
}

int creat(const char *path, mode_t mode) {
    return vcam::openFile(vcam::nextOpen, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}

int creat64(const char *path, mode_t mode) {
    return vcam::openFile(vcam::nextOpen64, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}

FILE *fopen(const char *path, const char *mode) {
    return vcam::openStream(vcam::nextFopen, path, mode);
}

FILE *fopen64(const char *path, const char *mode) {
    return vcam::openStream(vcam::nextFopen64, path, mode);
}

DIR *opendir(const char *path) {
    return vcam::nextOpendir(vcam::Redirected(path));
}

int access(const char *path, int mode) __THROW {
    return vcam::failsNow("access", path) ? -1 : vcam::look(path, mode);
}

int unlink(const char *path) __THROW {
    return vcam::failsNow("unlink", path) ? -1 : vcam::nextUnlink(vcam::Redirected(path));
}

int remove(const char *path) __THROW {
    return vcam::failsNow("remove", path) ? -1 : vcam::nextRemove(vcam::Redirected(path));
}

int rename(const char *from, const char *to) __THROW {
    vcam::forgetAbsent();
    return vcam::failsNow("rename", from)
               ? -1
               : vcam::nextRename(vcam::Redirected(from), vcam::Redirected(to));
}

int mkdir(const char *path, mode_t mode) __THROW {
    vcam::forgetAbsent();
    return vcam::nextMkdir(vcam::Redirected(path), mode);
}

int chmod(const char *path, mode_t mode) __THROW {
    return vcam::failsNow("chmod", path) ? -1 : vcam::nextChmod(vcam::Redirected(path), mode);
}

int rmdir(const char *path) __THROW {
    return vcam::nextRmdir(vcam::Redirected(path));
}

int stat(const char *path, struct stat *result) __THROW {
    return vcam::nextStat(vcam::Redirected(path), result);
}

int lstat(const char *path, struct stat *result) __THROW {
    return vcam::nextLstat(vcam::Redirected(path), result);
}

int stat64(const char *path, struct stat64 *result) __THROW {
    return vcam::nextStat64(vcam::Redirected(path), result);
}

int lstat64(const char *path, struct stat64 *result) __THROW {
    return vcam::nextLstat64(vcam::Redirected(path), result);
}
}
#pragma GCC visibility pop
