// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QtGlobal>

namespace base
{

/// Keeps other windows of the program out of a folder for as long as it lives. The kernel drops the
/// lock (flock) when the process ends, and there is no lock file.
class FolderLock
{
public:
    /// Waits at most `waitMs` milliseconds while somebody else has the lock.
    explicit FolderLock(const QString &folder, int waitMs = 3000);
    ~FolderLock();
    Q_DISABLE_COPY_MOVE(FolderLock)

    /// This object has the lock: nobody else does.
    bool isHeld() const { return held; }
    /// Somebody else had the lock all the time. Neither this nor isHeld() is true when the folder
    /// cannot be locked: it is missing, or its file system has no locks.
    bool isBusy() const { return busy; }

private:
    int descriptor = -1;
    bool held = false;
    bool busy = false;
};

} // namespace base
