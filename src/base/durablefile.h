// SPDX-License-Identifier: MIT
#pragma once

#include "base/readfile.h"

// Replacing and copying files that somebody else depends on. A true answer means that the bytes are
// on the disk, not only on their way there.
namespace base
{

enum class Replaced {
    Yes,          ///< `path` holds exactly the new content, synced to the disk; so is its new
                  ///< place in the folder, as far as the folder can be synced
    CannotOpen,   ///< the new file could not be opened beside `path`; the old content stands
    CommitFailed, ///< writing, syncing or renaming failed, or the file that stood there was no
                  ///< longer the `expected` one; what stood there stands
};

/// Puts `content` in the place of the file at `path`: written to a temporary file in the same
/// folder, synced, and renamed over the old one, so that at every moment the path holds either the
/// old bytes or the new ones. A symbolic link stays a link (one that leads nowhere is written
/// through). Mode and access list of the old file are kept, for root also its owner and group; a
/// new file has mode 0600. No file gets an access list from its folder. The time of modification
/// is another than the old file's. After any failure the temporary file is gone.
///
/// With `expected`, the version that was read, nothing is replaced that is another one just before
/// the renaming: what somebody else wrote meanwhile is not undone.
Replaced replaceFile(const QString &path, const QByteArray &content,
                     const std::optional<FileVersion> &expected = std::nullopt);

/// Copies the regular file at `from` to `to`, which must not exist yet, with its mode and access
/// list and, for root, its owner and group. True only when `to` holds exactly the bytes of `from`
/// and is on the disk; after a failure no partial copy is left at `to`.
bool copyFile(const QString &from, const QString &to);

/// Makes the folder with mode 0700, and folders above it with the usual mode, where they are
/// missing.
void makePrivateFolder(const QString &path);

} // namespace base
