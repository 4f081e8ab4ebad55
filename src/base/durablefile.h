// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Reading, replacing and copying files that somebody else depends on. A true answer means that the
// bytes are on the disk, not only on their way there.
namespace base
{

/// The whole content of the file at `path`; empty (no value) when it cannot be opened or when not
/// every byte of it could be read.
std::optional<QByteArray> readWholeFile(const QString &path);

enum class Replaced {
    Yes,          ///< `path` holds exactly the new content, synced to the disk
    CannotOpen,   ///< the new file could not be opened beside `path`; the old content stands
    CommitFailed, ///< writing, syncing or renaming failed; the old content stands
};

/// Puts `content` in the place of the file at `path`: written to a temporary file in the same
/// folder, synced, and renamed over the old one, so that at every moment the path holds either the
/// old bytes or the new ones. A symbolic link stays a link and the mode of the old file is kept.
/// After any failure the temporary file is gone.
Replaced replaceFile(const QString &path, const QByteArray &content);

/// Copies the file at `from` to `to`, which must not exist yet. True only when `to` holds exactly
/// the bytes of `from` and is on the disk; after a failure no partial copy is left at `to`.
bool copyFile(const QString &from, const QString &to);

/// Syncs the file at `path` and the folder that it stands in. False when either sync fails.
bool syncFileAndFolder(const QString &path);

} // namespace base
