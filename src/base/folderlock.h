// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QtGlobal>

namespace base
{

/// Keeps other windows of the program out of a folder for as long as it lives. The lock (flock) is
/// the kernel's: it goes with the process, so that nobody can leave one behind, and no file stands
/// for it.
class FolderLock
{
public:
    /// Waits at most `waitMs` milliseconds for the lock.
    FolderLock(const QString &folder, int waitMs);
    ~FolderLock();
    Q_DISABLE_COPY_MOVE(FolderLock)

    /// False when another one had it all the time, and when the folder cannot be locked.
    bool isHeld() const { return held; }

private:
    int descriptor = -1;
    bool held = false;
};

} // namespace base
