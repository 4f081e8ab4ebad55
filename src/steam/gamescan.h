// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

// Finds the installed games in the files that Steam keeps. Reports no errors: a file that cannot be
// read leaves its game out or a field empty.
namespace steam
{

/// One installed game.
struct GameEntry {
    QString appid;         ///< Steam's application id, decimal, from the manifest's file name
    QString name;          ///< as the manifest has it, raw
    QString iconPath;      ///< full path of a picture, or empty
    QString launchOptions; ///< the value in Steam's file, raw; or empty
};

/// Every game with a manifest in any library, sorted by name in the user's locale, without Steam's
/// own runtimes and Lossless Scaling. A game in two libraries is listed twice.
QList<GameEntry> scanGames();

/// The full path of Lossless Scaling's Lossless.dll in the first library that has it; empty if it
/// is not installed.
QString findLosslessScalingDll();

} // namespace steam
