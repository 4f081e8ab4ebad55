// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

// The installed games, from the files that Steam keeps. Nothing is reported from here: what cannot
// be read is left out or empty.
namespace steam
{

/// One installed game.
struct GameEntry {
    QString appid;         ///< Steam's application id, decimal, from the manifest's file name
    QString name;          ///< as the manifest has it, raw
    QString iconPath;      ///< full path of a picture, or empty
    QString launchOptions; ///< what Steam holds for the game now, raw; or empty
};

/// Every game with a manifest in any library, sorted by name as the user's locale sorts. Steam's
/// own runtimes and Lossless Scaling are left out; a game in two libraries is listed twice.
QList<GameEntry> scanGames();

/// The full path of Lossless Scaling's Lossless.dll in the first library that has it; empty when
/// it is not installed.
QString findLosslessScalingDll();

} // namespace steam
