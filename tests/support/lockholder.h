// SPDX-License-Identifier: MIT
#pragma once

#include "base/folderlock.h"

#include <QTest>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace support
{

/// A second process that holds the lock of a folder. It has the lock when the constructor returns,
/// and keeps it until it is killed or a minute has passed.
class LockHolder
{
public:
    explicit LockHolder(const QString &folder)
    {
        int ends[2] = {};
        if (::pipe(ends) != 0)
            qFatal("no pipe");
        process = ::fork();
        if (process == 0) {
            const base::FolderLock lock(folder, 0);
            const char answer = lock.isHeld() ? 'y' : 'n';
            if (::write(ends[1], &answer, 1) == 1)
                QTest::qSleep(60'000);
            ::_exit(0);
        }
        char answer = 0;
        if (::read(ends[0], &answer, 1) != 1 || answer != 'y')
            qFatal("the other process has no lock");
        ::close(ends[0]);
        ::close(ends[1]);
    }
    ~LockHolder() { kill(); }
    Q_DISABLE_COPY_MOVE(LockHolder)

    void kill()
    {
        if (process <= 0)
            return;
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
        process = -1;
    }

private:
    pid_t process = -1;
};

} // namespace support
