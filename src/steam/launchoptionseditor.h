// SPDX-License-Identifier: MIT
#pragma once

#include "steam/keyvalues.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

// Edits the text of Steam's localconfig.vdf; touches no file. Messages begin in lower case and have
// no full stop.
namespace steam
{

/// The new "LaunchOptions" value of a game. An empty text stores an empty value.
struct LaunchOptionsChange {
    QString appid;
    QString launchOptions;
};

struct EditedText {
    QByteArray bytes;
    QMap<QString, QString> refusals; ///< by app id, the reason why its change was not made
};

/// Sets the games' launch options and leaves every other byte as it is. Replaces all of a game's
/// values; if it has none, inserts a line into its block; if it has no block, inserts one at the
/// start of the "apps" section, the last change's first. `changes` must name an app id only once.
/// Each change is decided on the section's text alone, and refused if there is any doubt. So is a
/// change whose block lies in or around that of a change before it. All other changes are made.
EditedText editLaunchOptions(const AppsSection &section, const QList<LaunchOptionsChange> &changes);

/// The reason why the options cannot be stored: they hold a double quote or a backslash. Empty if
/// they can.
QString storageRefusal(const QString &options);

} // namespace steam
