// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayList>

#include <cerrno>
#include <cstdio>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

namespace support
{

/// While it lives, notes some of the C library's calls, those of Qt included, and lets them fail.
/// For the one source of a test's executable: it defines the calls in the place of the library's.
class CallWatch
{
public:
    CallWatch() { current = this; }
    ~CallWatch() { current = nullptr; }
    Q_DISABLE_COPY_MOVE(CallWatch)

    /// From now on a call of that name fails, for good or a number of times.
    void fail(const QByteArray &call, int error, int times = -1)
    {
        failing = call;
        errorNumber = error;
        timesLeft = times;
    }
    /// The calls so far, in their order.
    const QByteArrayList &calls() const { return noted; }

    /// For the calls: whether this one is to fail, with errno set.
    static bool isToFail(const char *call)
    {
        if (!current)
            return false;
        current->noted.append(call);
        if (current->failing != call || current->timesLeft == 0)
            return false;
        current->timesLeft = std::max(-1, current->timesLeft - 1);
        errno = current->errorNumber;
        return true;
    }

private:
    static inline CallWatch *current = nullptr;

    QByteArrayList noted;
    QByteArray failing;
    int errorNumber = 0;
    int timesLeft = 0;
};

inline const char *syncName(int descriptor)
{
    struct stat status = {};
    return ::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode) ? "sync a folder"
                                                                        : "sync a file";
}

} // namespace support

extern "C" {

int fsync(int descriptor)
{
    if (support::CallWatch::isToFail(support::syncName(descriptor)))
        return -1;
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

int fchmod(int descriptor, mode_t mode) noexcept
{
    if (support::CallWatch::isToFail("change the mode"))
        return -1;
    return static_cast<int>(::syscall(SYS_fchmod, descriptor, mode));
}

int rename(const char *from, const char *to) noexcept
{
    if (support::CallWatch::isToFail("rename"))
        return -1;
    return static_cast<int>(::syscall(SYS_rename, from, to));
}

} // extern "C"
