// SPDX-License-Identifier: MIT
#pragma once

#include "launch/gamesettings.h"
#include "steam/launchoptionseditor.h"

#include <QMap>
#include <QString>

class QSettings;

/// What an Apply did to Steam's file. Every staged game is in exactly one of the maps, by app id.
struct AppliedChanges {
    QMap<QString, QString> launchOptions; ///< the game's value in the file now
    QMap<QString, QString> failures;      ///< the reason why the game's change was not made
};

/// Writes the staged changes into Steam's file at `vdf`, and all `records` into the store. The
/// caller has made a backup of the file. Before a game's own launch options are replaced for the
/// first time, they are saved in the store, as the file holds them; if that fails, the game is not
/// changed. An unticked game is not changed if the store cannot be read or holds other options than
/// those that were staged. An unticked game without saved options is left as it is, without a
/// failure, if its options were typed in Steam since the scan. `staged` may name a game more than
/// once, with the same options.
AppliedChanges applyChanges(const QString &vdf, const QList<steam::LaunchOptionsChange> &staged,
                            QSettings &store, const QMap<QString, launch::GameSettings> &records);
