// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

// Where Steam keeps its files below the user's home directory. Every call looks at the file system
// afresh; nothing found is an empty result.
namespace steam
{

/// The canonical folder of the Steam installation: ~/.steam/steam, else ~/.local/share/Steam,
/// whichever first exists and holds "steamapps"; empty without Steam.
QString steamRoot();

/// The "steamapps" folders of all libraries that exist now: the root's first, then those that
/// libraryfolders.vdf names, in its order. Empty without Steam.
QStringList steamLibraryDirs();

/// The localconfig.vdf of the account whose file was written last; of files of one time, the first
/// in the order of QDir's listing. Empty when no account has one.
QString localConfigPath();

} // namespace steam
