// SPDX-License-Identifier: MIT
#pragma once

#include "base/files.h"

// Replaces and copies files that other programs depend on. Success means that the bytes are on the
// disk, not only on their way there.
namespace base
{

enum class Replaced {
    Yes,           ///< `path` holds exactly the new content, synced to the disk; the folder is
                   ///< synced, too, if that is possible
    CannotOpen,    ///< the new file could not be opened beside `path`, which is unchanged
    CannotReplace, ///< writing, syncing or renaming failed, or the file at `path` was not the
                   ///< `expected` version; `path` is unchanged
};

/// Replaces the content of the file at `path` by `content`, or makes the file. Writes a temporary
/// file in the same folder, syncs it, and renames it over the old one, so that at every moment the
/// path holds either the old bytes or the new ones. A symbolic link stays a link, also one that
/// leads nowhere; the file it leads to is replaced or made. The file keeps its mode and access list
/// and, for root, its owner and group. A new file has mode 0600. No file gets an access list from
/// its folder. A failure leaves no temporary file.
///
/// `expected` is the version that the caller read. If the file is another version just before the
/// renaming, it is not replaced, so that nobody's writing is undone.
Replaced replaceFile(const QString &path, const QByteArray &content,
                     const std::optional<FileVersion> &expected = std::nullopt);

/// Copies the regular file at `from` to `to`, which must not exist yet, with its mode and access
/// list and, for root, its owner and group. True only if `to` holds exactly the bytes of `from`
/// and is on the disk. A failure leaves no partial copy at `to`.
bool copyFile(const QString &from, const QString &to);

} // namespace base
