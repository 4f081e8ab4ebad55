// SPDX-License-Identifier: MIT
#pragma once

#include "base/durablefile.h"

#include <QString>

// Reads, backs up and replaces Steam's localconfig.vdf. No other code writes to it. The caller must
// make sure that Steam does not run: on exit Steam writes the file from its memory, over the edit.
// Messages begin in lower case and have no full stop. Every `error` may be null, and is assigned
// only on failure.
namespace steam
{

/// The file at `path`; no value, and the reason in `error`, if it cannot be read.
std::optional<base::WholeFile> readLocalConfig(const QString &path, QString *error);

/// Replaces the content of the file at `path` by `bytes`. True exactly if they are on the disk.
/// Otherwise the file is unchanged, and `error` says why. Fails also if the file is no longer the
/// version `read`, so that nobody's writing is undone, and if another window of the program keeps
/// the folder locked for 3 seconds.
bool replaceLocalConfig(const QString &path, const QByteArray &bytes, const base::FileVersion &read,
                        QString *error);

/// Reads the file at `path`, gives one game its launch options and replaces the file. With
/// `makeBackup`, calls writeBackup() after all checks and before replacing. True exactly if the new
/// text is on the disk; otherwise the file is unchanged, and `error` says why.
bool setLaunchOptions(const QString &path, const QString &appid, const QString &options,
                      bool makeBackup, QString *error);

/// Copies the file at `path` to a new file beside it, named path + ".bak-marrow-" + seconds since
/// the epoch (with "-1", "-2", ... after it while that name is taken). Returns the copy's path if
/// all bytes are on the disk, else an empty string.
QString writeBackup(const QString &path);

/// The message for launch options or a file that could not be saved before being replaced. `path`
/// is the file that could not be read, written or copied.
inline QString noBackupMessage(const QString &path)
{
    return QStringLiteral("could not write backup for ") + path;
}

} // namespace steam
