// SPDX-License-Identifier: MIT
#pragma once

#include "base/durablefile.h"

#include <QString>

// The file on the disk: the only code that writes to Steam's localconfig.vdf. It must not run while
// Steam does, which would write its own memory over the edit; that is the caller's to make sure.
// Messages are in lower case and without a full stop. Every `error` may be null and is assigned
// only on failure.
namespace steam
{

/// The file at `path` as it is to be edited; no value, and why in `error`, when it cannot be read.
std::optional<base::WholeFile> readLocalConfig(const QString &path, QString *error);

/// Replaces the file at `path` by `bytes`. True exactly when they are on the disk. Otherwise the
/// file is unchanged and `error` says why; that includes a file that is no longer the `read`
/// version, so that nobody's writing is undone.
bool replaceLocalConfig(const QString &path, const QByteArray &bytes, const base::FileVersion &read,
                        QString *error);

/// Reads the file at `path`, gives one game its launch options and replaces the file. With
/// `makeBackup`, writeBackup() is called after all checks and before the file is replaced. True
/// exactly when the new text is on the disk; otherwise the file is unchanged and `error` says why.
bool setLaunchOptions(const QString &path, const QString &appid, const QString &options,
                      bool makeBackup, QString *error);

/// Copies the file at `path` to a new file beside it, named path + ".bak-marrow-" + seconds since
/// the epoch (with "-1", "-2", ... after it while that name is taken). Returns the copy's path when
/// it is on the disk byte for byte, else an empty string.
QString writeBackup(const QString &path);

/// The message for whatever could not be kept before it is replaced; `path` is the file that could
/// not be written or read.
QString noBackupMessage(const QString &path);

} // namespace steam
