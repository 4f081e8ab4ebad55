// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QtGlobal>

namespace base
{

/// Locks a folder (flock) against other windows of the program until the object is destroyed. The
/// kernel drops the lock when the process ends; there is no lock file.
class FolderLock
{
public:
    /// Waits at most `waitMs` milliseconds for another window's lock.
    explicit FolderLock(const QString &folder, int waitMs = 3000);
    ~FolderLock();
    Q_DISABLE_COPY_MOVE(FolderLock)

    /// True if this object has the lock.
    bool isHeld() const { return held; }
    /// True if another window had the lock all the time. Both this and isHeld() are false if the
    /// folder cannot be locked: it is missing, or its file system has no locks.
    bool isBusy() const { return busy; }

private:
    int descriptor = -1;
    bool held = false;
    bool busy = false;
};

} // namespace base
