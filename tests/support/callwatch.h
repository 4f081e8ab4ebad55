// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayList>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utility>

namespace support
{

/// While it lives, records which files are synced and renamed, and can make calls of the C library
/// fail, or do something just before them. Qt's calls are among them: this header defines the
/// functions in the place of the library's. So only one source of an executable may include it.
class CallWatch
{
public:
    CallWatch() { current = this; }
    ~CallWatch() { current = nullptr; }
    Q_DISABLE_COPY_MOVE(CallWatch)

    /// Makes calls of that name fail after the first `spared` ones: `times` calls, or all if
    /// `times` is below zero.
    void fail(const QByteArray &call, int error, int times = -1, int spared = 0)
    {
        failing = call;
        errorNumber = error;
        timesLeft = times;
        sparedLeft = spared;
    }
    /// Does something just before the first call of that name, as another program might.
    void before(const QByteArray &call, std::function<void()> what)
    {
        awaited = call;
        action = std::move(what);
    }
    /// The names of the syncs and renames so far, in their order.
    const QByteArrayList &order() const { return noted; }

    /// Called by the replaced functions: records the call.
    static void note(const char *call)
    {
        if (current)
            current->noted.append(call);
    }
    /// Called by the replaced functions: true, with errno set, if the call must fail.
    static bool isToFail(const QByteArray &call)
    {
        if (!current)
            return false;
        if (current->action && current->awaited == call)
            std::exchange(current->action, nullptr)();
        if (current->failing != call || current->timesLeft == 0)
            return false;
        if (current->sparedLeft > 0) {
            --current->sparedLeft;
            return false;
        }
        if (current->timesLeft > 0)
            --current->timesLeft;
        errno = current->errorNumber;
        return true;
    }

private:
    static inline CallWatch *current = nullptr;

    QByteArrayList noted;
    QByteArray awaited;
    std::function<void()> action;
    QByteArray failing;
    int errorNumber = 0;
    int timesLeft = 0;
    int sparedLeft = 0;
};

/// Calls the C library's function, which the one of the same name in this file hides. Returns -1
/// instead if the test has `call` fail.
template <typename Result = int, typename... Arguments>
Result watched(const QByteArray &call, const char *function, Arguments... arguments)
{
    if (CallWatch::isToFail(call))
        return -1;
    return reinterpret_cast<Result (*)(Arguments...)>(::dlsym(RTLD_NEXT, function))(arguments...);
}

inline int watchedOpen(const char *path, int flags, mode_t mode = 0)
{
    const char *slash = std::strrchr(path, '/');
    const QByteArray name(slash ? slash + 1 : path);
    const bool isReading = (flags & O_ACCMODE) == O_RDONLY;
    if (CallWatch::isToFail((isReading ? "read " : "write ") + name))
        return -1;
    using Open = int (*)(const char *, int, ...);
    return reinterpret_cast<Open>(::dlsym(RTLD_NEXT, "open"))(path, flags | O_LARGEFILE, mode);
}

} // namespace support

// Tests name the calls so: "sync a file", "sync a folder", "rename", "change the mode", "change the
// owner", "lock", "read the access list", "set the access list", "drop the access list", and "read
// NAME" or "write NAME" where a file is opened.
extern "C" {

int fsync(int descriptor)
{
    struct stat status = {};
    const bool isFolder = ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode);
    const char *name = isFolder ? "sync a folder" : "sync a file";
    support::CallWatch::note(name);
    return support::watched(name, "fsync", descriptor);
}

int rename(const char *from, const char *to) noexcept
{
    support::CallWatch::note("rename");
    return support::watched("rename", "rename", from, to);
}

int fchmod(int descriptor, mode_t mode) noexcept
{
    return support::watched("change the mode", "fchmod", descriptor, mode);
}

int fchown(int descriptor, uid_t owner, gid_t group) noexcept
{
    return support::watched("change the owner", "fchown", descriptor, owner, group);
}

ssize_t getxattr(const char *path, const char *name, void *value, size_t size) noexcept
{
    return support::watched<ssize_t>("read the access list", "getxattr", path, name, value, size);
}

int fsetxattr(int descriptor, const char *name, const void *value, size_t size, int flags) noexcept
{
    return support::watched("set the access list", "fsetxattr", descriptor, name, value, size,
                            flags);
}

int fremovexattr(int descriptor, const char *name) noexcept
{
    return support::watched("drop the access list", "fremovexattr", descriptor, name);
}

int flock(int descriptor, int operation) noexcept
{
    return support::watched("lock", "flock", descriptor, operation);
}

// With _FILE_OFFSET_BITS=64 the headers turn this name into open64, which Qt calls, too.
int open(const char *path, int flags, ...)
{
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) {
        va_list more;
        va_start(more, flags);
        mode = va_arg(more, mode_t);
        va_end(more);
    }
    return support::watchedOpen(path, flags, mode);
}

// A hardened build may call this one where no mode is given.
int __open_2(const char *path, int flags)
{
    return support::watchedOpen(path, flags);
}

} // extern "C"
