// SPDX-License-Identifier: MIT
#include "base/durablefile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace base
{
namespace
{

bool sync(int descriptor)
{
    while (::fsync(descriptor) != 0) {
        if (errno != EINTR)
            return false;
    }
    return true;
}

/// Syncs a file or folder by its name.
bool syncPath(const QString &path)
{
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool synced = sync(descriptor);
    ::close(descriptor);
    return synced;
}

/// The folder whose entry a rename to `path` changes: that of the file which links lead to.
QString folderOf(const QString &path)
{
    return QFileInfo(QFileInfo(path).canonicalFilePath()).path();
}

} // namespace

std::optional<QByteArray> readWholeFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QByteArray content = file.readAll();
    // readAll() hands out what it got before an error; half a file must not pass for a whole one.
    if (file.error() != QFileDevice::NoError || content.size() != file.size())
        return std::nullopt;
    return content;
}

Replaced replaceFile(const QString &path, const QByteArray &content)
{
    // QSaveFile takes a link or a mode that it fails to look at for none, and loses it.
    struct stat old = {};
    const bool exists = ::stat(QFile::encodeName(path).constData(), &old) == 0;
    if (!exists && errno != ENOENT)
        return Replaced::CannotOpen;
    const QString target = exists ? QFileInfo(path).canonicalFilePath() : path;
    QSaveFile file(target);
    if (target.isEmpty() || !file.open(QIODevice::WriteOnly))
        return Replaced::CannotOpen;
    if (exists && ::fchmod(file.handle(), old.st_mode & 07777) != 0)
        return Replaced::CommitFailed;
    // commit() alone is not to be believed: it ignores a failing sync, and after a full disk it
    // can rename an empty or a cut file into place. Whatever fails here drops the temporary file.
    if (file.write(content) != content.size() || !file.flush() || file.size() != content.size() ||
        !sync(file.handle()))
        return Replaced::CommitFailed;
    if (!file.commit())
        return Replaced::CommitFailed;
    // The new text stands already; a folder that cannot be synced does not take it back.
    syncPath(folderOf(path));
    return Replaced::Yes;
}

bool copyFile(const QString &from, const QString &to)
{
    if (!QFile::copy(from, to))
        return false;
    const std::optional<QByteArray> original = readWholeFile(from);
    if (original && readWholeFile(to) == original && syncFileAndFolder(to))
        return true;
    QFile::remove(to);
    return false;
}

bool syncFileAndFolder(const QString &path)
{
    return syncPath(path) && syncPath(folderOf(path));
}

} // namespace base
