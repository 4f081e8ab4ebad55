// SPDX-License-Identifier: MIT
#pragma once

#include "base/durablefile.h"

#include <QLatin1StringView>
#include <QString>

// Reads, backs up and replaces Steam's localconfig.vdf. No other code writes to it. The caller must
// make sure that Steam does not run: on exit Steam writes the file from its memory, over the edit.
// Messages begin in lower case and have no full stop.
namespace steam
{

/// Reads the file at `path`, gives one game its launch options and replaces the file. With
/// `makeBackup`, calls writeBackup() after all checks and before replacing. True exactly if the new
/// text is on the disk; otherwise the file is unchanged, and `error`, unless it is null, says why.
bool setLaunchOptions(const QString &path, const QString &appid, const QString &options,
                      bool makeBackup, QString *error);

/// Replaces the content of the file at `path` by `bytes`. Returns an empty text exactly if they are
/// on the disk; otherwise the file is unchanged, and the text says why. Fails also if the file is
/// no longer the version `read`, so that nobody's writing is undone, and if another window of the
/// program keeps the folder locked for 3 seconds.
QString replaceLocalConfig(const QString &path, const QByteArray &bytes,
                           const base::FileVersion &read);

/// Copies the file at `path` to a new file beside it, named path + ".bak-marrow-" + seconds since
/// the epoch (with "-1", "-2", ... after it while that name is taken). Returns the copy's path if
/// all bytes are on the disk, else an empty string.
QString writeBackup(const QString &path);

// Beginnings of messages, which end with the path of a file.
inline constexpr QLatin1StringView cannotOpen("cannot open "); ///< it could not be read
/// It could not be copied, or what is in it could not be saved before being replaced.
inline constexpr QLatin1StringView cannotBackUp("could not write backup for ");

} // namespace steam
