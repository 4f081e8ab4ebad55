// SPDX-License-Identifier: MIT
#include "base/files.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace base
{
namespace
{

FileVersion versionOf(const struct stat &status)
{
    return {.device = status.st_dev,
            .inode = status.st_ino,
            .size = status.st_size,
            .modificationTime =
                status.st_mtim.tv_sec * qint64{1'000'000'000} + status.st_mtim.tv_nsec};
}

/// The content of the open file; no value on an error or beyond `largestFile`. `toldSize`, which
/// may be wrong, only saves allocations.
std::optional<QByteArray> readToEnd(int descriptor, qint64 toldSize)
{
    constexpr qsizetype piece = 4096;
    QByteArray bytes;
    bytes.reserve(qsizetype(std::min(toldSize, largestFile)) + piece);
    qsizetype size = 0;
    while (size <= largestFile) {
        bytes.resize(std::max(size + piece, bytes.capacity()));
        const ssize_t count = ::read(descriptor, bytes.data() + size, size_t(bytes.size() - size));
        if (count < 0 && errno != EINTR)
            return std::nullopt;
        if (count == 0) {
            bytes.truncate(size);
            return bytes;
        }
        size += std::max(count, ssize_t(0));
    }
    return std::nullopt;
}

std::optional<WholeFile> readRegularFile(const QString &path)
{
    // Opening a pipe can block, and opening a device can have effects, so look at the type first.
    // O_NONBLOCK is for a pipe that takes the file's place in between.
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (::stat(name.constData(), &status) != 0 || !S_ISREG(status.st_mode))
        return std::nullopt;
    int descriptor = -1;
    do {
        descriptor = ::open(name.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0)
        return std::nullopt;
    std::optional<QByteArray> bytes;
    if (::fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
        bytes = readToEnd(descriptor, status.st_size);
    ::close(descriptor);
    if (!bytes)
        return std::nullopt;
    return WholeFile{*bytes, versionOf(status)};
}

} // namespace

std::optional<QByteArray> readFile(const QString &path)
{
    const std::optional<WholeFile> file = readRegularFile(path);
    return file ? std::optional(file->bytes) : std::nullopt;
}

QString readText(const QString &path)
{
    return QString::fromUtf8(readFile(path).value_or(QByteArray()));
}

bool isMissing(const QString &path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) != 0 &&
           (errno == ENOENT || errno == ENOTDIR);
}

std::optional<FileVersion> fileVersion(const QString &path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return versionOf(status);
}

std::optional<WholeFile> readWholeFile(const QString &path)
{
    std::optional<WholeFile> file = readRegularFile(path);
    if (file && file->bytes.size() != file->version.size)
        return std::nullopt;
    return file;
}

} // namespace base
