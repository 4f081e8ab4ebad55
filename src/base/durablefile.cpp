// SPDX-License-Identifier: MIT
#include "base/durablefile.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QTemporaryFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

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

/// Opens the file or folder and syncs it.
bool syncPath(const QString &path)
{
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool synced = sync(descriptor);
    ::close(descriptor);
    return synced;
}

constexpr auto accessList = "system.posix_acl_access"; // what acl(5) describes

/// Gives the open file the mode, and removes the access list that its folder may have given it.
bool setMode(int descriptor, mode_t mode)
{
    if (::fremovexattr(descriptor, accessList) != 0 && errno != ENODATA && errno != ENOTSUP)
        return false;
    return ::fchmod(descriptor, mode) == 0;
}

/// Gives the open file the mode, the access list and, for root, the owner and group of the old file
/// at `path`.
bool takeAfter(int descriptor, const QString &path, const struct stat &old)
{
    QByteArray list(64 * 1024, '\0'); // the most that xattr(7) allows
    const ssize_t size = ::getxattr(QFile::encodeName(path).constData(), accessList, list.data(),
                                    size_t(list.size()));
    if (size < 0 && errno != ENODATA && errno != ENOTSUP)
        return false;
    if (::geteuid() == 0 && ::fchown(descriptor, old.st_uid, old.st_gid) != 0)
        return false;
    return setMode(descriptor, old.st_mode & 07777) && // after the owner, whose change drops bits
           (size < 0 || ::fsetxattr(descriptor, accessList, list.data(), size_t(size), 0) == 0);
}

} // namespace

Replaced replaceFile(const QString &path, const QByteArray &content,
                     const std::optional<FileVersion> &expected)
{
    // If stat() fails, QSaveFile loses the link and the mode.
    struct stat old = {};
    const bool exists = ::stat(QFile::encodeName(path).constData(), &old) == 0;
    if (!exists && errno != ENOENT)
        return Replaced::CannotOpen;
    QSaveFile file(path); // follows links, also those that lead nowhere
    if (!file.open(QIODevice::WriteOnly))
        return Replaced::CannotOpen;
    if (exists ? !takeAfter(file.handle(), path, old) : !setMode(file.handle(), 0600))
        return Replaced::CannotReplace;
    // Do not trust commit() alone: it ignores a failing sync, and when the disk is full it can put
    // an empty or a cut file in place. After a return, QSaveFile removes the temporary file.
    if (file.write(content) != content.size() || !file.flush() || file.size() != content.size())
        return Replaced::CannotReplace;
    if (!sync(file.handle()) || (expected && fileVersion(path) != expected) || !file.commit())
        return Replaced::CannotReplace;
    // The file is replaced by now: a folder that cannot be synced is no failure.
    syncPath(QFileInfo(path).canonicalPath());
    return Replaced::Yes;
}

bool copyFile(const QString &from, const QString &to)
{
    struct stat original = {};
    QFile file(from);
    QTemporaryFile copy(to + ".XXXXXX"_L1); // has mode 0600 until it gets the original's
    if (::stat(QFile::encodeName(from).constData(), &original) != 0 || !S_ISREG(original.st_mode) ||
        !file.open(QIODevice::ReadOnly) || !copy.open() ||
        !takeAfter(copy.handle(), from, original))
        return false;
    constexpr qint64 pieceSize = 64 * 1024; // stays in the processor's cache
    for (qint64 done = 0; done < original.st_size; done += pieceSize)
        copy.write(file.read(pieceSize));
    if (!copy.flush() || !sync(copy.handle()) || copy.size() != original.st_size || !file.seek(0) ||
        !copy.seek(0))
        return false;
    for (qint64 done = 0; done < original.st_size; done += pieceSize) {
        const QByteArray piece = file.read(pieceSize);
        if (piece.isEmpty() || piece != copy.read(pieceSize))
            return false;
    }
    copy.setAutoRemove(!copy.rename(to) || !syncPath(QFileInfo(to).path()));
    return !copy.autoRemove();
}

} // namespace base
