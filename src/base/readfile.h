// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Reading files that somebody else wrote. Whatever stands under the name, the program neither waits
// nor runs out of memory: only regular files are opened (through links, too), and none is read
// beyond `largestFile`.
namespace base
{

/// In bytes; what is larger counts as unreadable. Steam's localconfig.vdf has some megabytes after
/// years of use, and it is the largest of the files that are read.
inline constexpr qint64 largestFile = 64 * 1024 * 1024;

/// The content of the regular file at `path`; no value when it cannot be opened or read to its end.
/// What the kernel tells of its size does not count: in sysfs and procfs it is a page or 0 whatever
/// the content.
std::optional<QByteArray> readFile(const QString &path);

/// The same, decoded from UTF-8; empty when it cannot be read.
QString readText(const QString &path);

/// Whether surely nothing stands under the name, links followed: false also when it cannot be told.
bool isMissing(const QString &path);

/// What tells a file from another one that takes its name, and from what it was before it was
/// written to.
struct FileVersion {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;             ///< in bytes
    qint64 modificationTime = 0; ///< nanoseconds since the epoch

    bool operator==(const FileVersion &) const = default;
};

/// The version of the file at `path`, links followed; no value without one.
std::optional<FileVersion> fileVersion(const QString &path);

struct WholeFile {
    QByteArray bytes;
    FileVersion version;
};

/// A file on a disk with the version that was read; no value also when it has not exactly as many
/// bytes as its size tells.
std::optional<WholeFile> readWholeFile(const QString &path);

} // namespace base
