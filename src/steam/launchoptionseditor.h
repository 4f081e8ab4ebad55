// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

// The only code that writes to Steam's localconfig.vdf. It must not run while Steam does, which
// would write its own memory over the edit; that is the caller's to make sure.
namespace steam
{

/// Sets the "LaunchOptions" value of one game in the file at `path` to `options` and leaves every
/// other byte as it is: existing values of the game are replaced, else a line is inserted into its
/// block, else a block into the "apps" section. `options` may be empty, which stores an empty
/// value; it may hold neither double quotes nor backslashes.
///
/// True exactly when the new text is on the disk under `path`. Otherwise the file is unchanged and
/// `error` (may be null, else assigned only then) says why, in lower case without a full stop:
/// every doubtful situation is refused. With `makeBackup`, writeBackup() is called after all checks
/// and before the file is replaced.
bool setLaunchOptions(const QString &path, const QString &appid, const QString &options,
                      bool makeBackup, QString *error);

/// Copies the file at `path` to a new file beside it, named path + ".bak-marrow-" + seconds since
/// the epoch (with "-1", "-2", ... behind it while that name is taken). Returns the copy's path
/// when it is on the disk byte for byte, else an empty string.
QString writeBackup(const QString &path);

} // namespace steam
