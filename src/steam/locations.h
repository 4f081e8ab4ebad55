// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

// Finds Steam's files below the user's home directory. Every call looks at the file system again.
// If nothing is found, the result is empty.
namespace steam
{

/// The canonical path of the Steam installation: ~/.steam/steam if that holds "steamapps", else
/// ~/.local/share/Steam if that does; empty without Steam.
QString steamRoot();

/// The "steamapps" folders of all libraries that exist now: the root's first, then those that
/// libraryfolders.vdf names, in its order. Empty without Steam.
QStringList steamLibraryDirs();

/// The localconfig.vdf that was written last, of all accounts; of equal times, the first in QDir's
/// listing. Empty if no account has one.
QString localConfigPath();

} // namespace steam
