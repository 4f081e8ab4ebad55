// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Reads files that other programs wrote. Opens only regular files, also through links, and reads at
// most `largestFile` bytes. So a pipe, a device or an endless file neither blocks the program nor
// uses up its memory.
namespace base
{

/// In bytes; a larger file counts as unreadable. The largest file that the program reads is Steam's
/// localconfig.vdf, which has some megabytes after years of use.
inline constexpr qint64 largestFile = 64 * 1024 * 1024;

/// The content of the regular file at `path`; no value if it cannot be opened or read to its end.
/// Ignores the size that the kernel reports: in sysfs and procfs it is a page or 0 whatever the
/// content.
std::optional<QByteArray> readFile(const QString &path);

/// The same, decoded from UTF-8; empty if the file cannot be read.
QString readText(const QString &path);

/// True only if the path, with links followed, certainly does not exist.
bool isMissing(const QString &path);

/// Identifies one version of a file: it differs after the file was replaced or written to.
struct FileVersion {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;             ///< in bytes
    qint64 modificationTime = 0; ///< nanoseconds since the epoch

    bool operator==(const FileVersion &) const = default;
};

/// The version of the file at `path`, with links followed; no value if there is none.
std::optional<FileVersion> fileVersion(const QString &path);

struct WholeFile {
    QByteArray bytes;
    FileVersion version;
};

/// As readFile(), for a file on a disk, with the version that was read. No value also if the file
/// does not have as many bytes as the kernel reports.
std::optional<WholeFile> readWholeFile(const QString &path);

} // namespace base
