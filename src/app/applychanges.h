// SPDX-License-Identifier: MIT
#pragma once

#include "launch/gamesettings.h"
#include "steam/launchoptionseditor.h"

#include <QMap>
#include <QString>

class QSettings;

/// What an Apply did to Steam's file. Every staged game is in exactly one of the maps, by app id.
struct AppliedChanges {
    QMap<QString, QString> launchOptions; ///< what the file holds for the game now
    QMap<QString, QString> failures;      ///< why the game's change was not made
};

/// Writes the staged changes into Steam's file at `vdf`, of which there is a backup, and all
/// `records` into the store. Keeps in the store what a game's value in the file is before it is
/// replaced for the first time; a game whose options cannot be kept is not changed. Of the games
/// that are to get back what is kept for them, or nothing, a game is not changed if the store
/// cannot be read or keeps something else for it, and is left alone if its options were typed in
/// Steam since the scan. `staged` may name a game more than once, with the same options.
AppliedChanges applyChanges(const QString &vdf, const QList<steam::LaunchOptionsChange> &staged,
                            QSettings &store, const QMap<QString, launch::GameSettings> &records);
