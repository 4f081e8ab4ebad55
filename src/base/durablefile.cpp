// SPDX-License-Identifier: MIT
#include "base/durablefile.h"

#include <QDir>
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

/// Where the links that begin at `path` lead to, when nothing stands there.
QString danglingTarget(QString path)
{
    constexpr int mostLinks = 40; // as the kernel follows
    for (int i = 0; i < mostLinks && QFileInfo(path).isSymLink(); ++i)
        path = QFileInfo(path).symLinkTarget();
    return path;
}

constexpr auto accessList = "system.posix_acl_access"; // what acl(5) describes

/// Gives the open file the mode, and no access list, whatever list its folder gives new files.
bool setMode(int descriptor, mode_t mode)
{
    if (::fremovexattr(descriptor, accessList) != 0 && errno != ENODATA && errno != ENOTSUP)
        return false;
    return ::fchmod(descriptor, mode) == 0;
}

/// Gives the open file mode, access list and, as root, owner and group of the old one at `path`.
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

/// Whoever compares sizes and times must see that the file changed: two files that are written
/// within one tick of the kernel's clock have the same time, to the millisecond that is compared.
bool setOtherTime(int descriptor, const struct stat &old)
{
    constexpr long millisecond = 1'000'000;
    struct stat status = {};
    if (::fstat(descriptor, &status) != 0)
        return false;
    timespec time = status.st_mtim;
    if (time.tv_sec != old.st_mtim.tv_sec ||
        time.tv_nsec / millisecond != old.st_mtim.tv_nsec / millisecond)
        return true;
    ++time.tv_sec;
    const timespec times[] = {{.tv_sec = 0, .tv_nsec = UTIME_OMIT}, time};
    return ::futimens(descriptor, times) == 0;
}

} // namespace

Replaced replaceFile(const QString &path, const QByteArray &content,
                     const std::optional<FileVersion> &expected)
{
    // QSaveFile takes a link or a mode that it fails to look at for none, and loses it.
    struct stat old = {};
    const bool exists = ::stat(QFile::encodeName(path).constData(), &old) == 0;
    if (!exists && errno != ENOENT)
        return Replaced::CannotOpen;
    const QString target = exists ? QFileInfo(path).canonicalFilePath() : danglingTarget(path);
    QSaveFile file(target);
    if (target.isEmpty() || !file.open(QIODevice::WriteOnly))
        return Replaced::CannotOpen;
    if (exists ? !takeAfter(file.handle(), path, old) : !setMode(file.handle(), 0600))
        return Replaced::CommitFailed;
    // commit() alone is not to be believed: it ignores a failing sync, and after a full disk it
    // can rename an empty or a cut file into place. Whatever fails here drops the temporary file.
    if (file.write(content) != content.size() || !file.flush() || file.size() != content.size())
        return Replaced::CommitFailed;
    if (exists && !setOtherTime(file.handle(), old))
        return Replaced::CommitFailed;
    if (!sync(file.handle()))
        return Replaced::CommitFailed;
    if (expected && fileVersion(path) != expected)
        return Replaced::CommitFailed;
    if (!file.commit())
        return Replaced::CommitFailed;
    // The new text stands already; a folder that cannot be synced does not take it back.
    syncPath(QFileInfo(target).path());
    return Replaced::Yes;
}

bool copyFile(const QString &from, const QString &to)
{
    struct stat original = {};
    const std::optional<WholeFile> content = readWholeFile(from);
    QTemporaryFile copy(to + ".XXXXXX"_L1); // of the user alone until it has its mode
    if (!content || ::stat(QFile::encodeName(from).constData(), &original) != 0 || !copy.open() ||
        !takeAfter(copy.handle(), from, original) ||
        copy.write(content->bytes) != content->bytes.size() || !copy.flush() ||
        !sync(copy.handle()) || !copy.rename(to))
        return false;
    const std::optional<WholeFile> copied = readWholeFile(to);
    copy.setAutoRemove(!copied || copied->bytes != content->bytes ||
                       !syncPath(QFileInfo(to).path()));
    return !copy.autoRemove();
}

void makePrivateFolder(const QString &path)
{
    QDir().mkpath(QFileInfo(path).path());
    QDir().mkdir(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace base
