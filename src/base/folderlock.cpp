// SPDX-License-Identifier: MIT
#include "base/folderlock.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace base
{

FolderLock::FolderLock(const QString &folder, int waitMs)
    : descriptor(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
{
    if (descriptor < 0)
        return;
    const QDeadlineTimer deadline(waitMs);
    while (!(held = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0)) {
        if (errno != EWOULDBLOCK && errno != EINTR)
            return;
        busy = deadline.hasExpired();
        if (busy)
            return;
        QThread::msleep(10);
    }
}

FolderLock::~FolderLock()
{
    if (descriptor >= 0)
        ::close(descriptor);
}

} // namespace base
