// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

// Edits the text of Steam's localconfig.vdf; touches no file. Messages are in lower case and
// without a full stop.
namespace steam
{

/// The "LaunchOptions" value that a game is to have. It may be empty, which stores an empty value.
struct LaunchOptionsChange {
    QString appid;
    QString launchOptions;
};

struct EditedText {
    QByteArray bytes;
    QMap<QString, QString> refusals; ///< by app id, why its change was not made
};

/// Gives games their launch options and leaves every other byte as it is: a game's existing values
/// are replaced, else a line is inserted into its block, else a block into the "apps" section, the
/// last change's before the others. `changes` names an app id once. Each change is decided on
/// `bytes` alone, and refused in every doubtful situation. The others are made all the same, but
/// not in a block that lies in or around that of a change before it.
EditedText editLaunchOptions(const QByteArray &bytes, const QList<LaunchOptionsChange> &changes);

/// Why no text can hold the options: they have a double quote or a backslash. Empty if one can.
QString storageRefusal(const QString &options);

} // namespace steam
