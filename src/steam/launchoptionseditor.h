// SPDX-License-Identifier: MIT
#pragma once

#include "base/durablefile.h"

#include <QList>
#include <QString>

// The only code that writes to Steam's localconfig.vdf. It must not run while Steam does, which
// would write its own memory over the edit; that is the caller's to make sure. Messages are in
// lower case and without a full stop.
namespace steam
{

/// The "LaunchOptions" value that a game is to have. It may be empty, which stores an empty value.
struct LaunchOptionsChange {
    QString appid;
    QString launchOptions;
};

/// What became of one change.
struct EditOutcome {
    QString message; ///< why it was refused; empty when it was made
    QString before;  ///< the game's options in the text before all changes

    /// Refused for what the text held before, whatever else was wrong: a value that this program
    /// cannot read to its end or put back, or of which it is in doubt where it belongs. Such a
    /// value must not be kept as the game's own.
    bool isOldTextDoubtful = false;
};

struct EditedText {
    QByteArray bytes;
    QList<EditOutcome> outcomes; ///< one for each change, in their order
};

/// Makes changes to the text of a localconfig.vdf, one after the other as they are listed, and
/// leaves every other byte as it is: existing values of a game are replaced, else a line is
/// inserted into its block, else a block into the "apps" section, before the others. A change is
/// refused when its options hold a double quote or a backslash, and in every doubtful situation;
/// the others are made all the same. Touches no file.
EditedText editLaunchOptions(const QByteArray &bytes, const QList<LaunchOptionsChange> &changes);

/// The file at `path` as it is to be edited; no value, and why in `error`, when it cannot be read.
std::optional<base::WholeFile> readLocalConfig(const QString &path, QString *error);

/// Puts `bytes` in the place of the file that was read. True exactly when they are on the disk
/// under `path`. Otherwise what stands there is as it was, and `error` says why; also when it is no
/// longer the `read` version, so that nobody's writing is undone.
bool replaceLocalConfig(const QString &path, const QByteArray &bytes, const base::FileVersion &read,
                        QString *error);

/// Reads the file at `path`, makes one change and replaces the file. With `makeBackup`,
/// writeBackup() is called after all checks and before the file is replaced. True exactly when the
/// new text is on the disk; otherwise the file is as it was and `error` says why. `error` may be
/// null, and is assigned only then.
bool setLaunchOptions(const QString &path, const QString &appid, const QString &options,
                      bool makeBackup, QString *error);

/// Copies the file at `path` to a new file beside it, named path + ".bak-marrow-" + seconds since
/// the epoch (with "-1", "-2", ... after it while that name is taken). Returns the copy's path when
/// it is on the disk byte for byte, else an empty string.
QString writeBackup(const QString &path);

} // namespace steam
