// SPDX-License-Identifier: MIT
#pragma once

#include "base/files.h"
#include "base/folderlock.h"
#include "launch/gamesettings.h"

#include <QLatin1StringView>
#include <QMap>
#include <QString>
#include <QTemporaryDir>

#include <array>
#include <memory>
#include <optional>
#include <variant>

class QSettings;

// The program keeps every game's settings between runs, under "config/<app id>/<field>", and the
// launch options that a game had before the program first replaced them, under "original/<app id>".
// It never removes anything from the store.
namespace launch
{

/// One field of a game's settings, with its key in the store.
struct SettingsField {
    QLatin1StringView key; ///< last part of the store's key
    std::variant<bool GameSettings::*, int GameSettings::*> member;
    int readDefault; ///< the value of an absent key; for a bool 0 or 1
};

/// The thirteen fields, in the order in which they are written. Newer keys, the last five, default
/// to what their absence meant; the first eight, which were always written together, to 0 or false.
inline constexpr std::array<SettingsField, 13> settingsFields{{
    {QLatin1StringView("upscaling"), &GameSettings::upscaling, 0},
    {QLatin1StringView("renderW"), &GameSettings::renderW, 0},
    {QLatin1StringView("renderH"), &GameSettings::renderH, 0},
    {QLatin1StringView("outputW"), &GameSettings::outputW, 0},
    {QLatin1StringView("outputH"), &GameSettings::outputH, 0},
    {QLatin1StringView("framegen"), &GameSettings::framegen, 0},
    {QLatin1StringView("fgbackend"), &GameSettings::fgbackend, 0},
    {QLatin1StringView("holdback"), &GameSettings::holdback, 0},
    {QLatin1StringView("framecap"), &GameSettings::framecap, 1},
    {QLatin1StringView("caphz"), &GameSettings::caphz, 0},
    {QLatin1StringView("renderres"), &GameSettings::renderres, 1},
    {QLatin1StringView("pacing"), &GameSettings::pacing, 0},
    {QLatin1StringView("debugoverlay"), &GameSettings::debugoverlay, 0},
}};

struct LoadedGame {
    GameSettings settings;
    bool enabled = false; ///< the game's launch options are the program's own
};

/// The settings of a game that is scanned for the first time. If the program wrote its current
/// launch options, the settings are read from them, and the game is enabled. Else they are the
/// stored ones, else the defaults. Qt converts malformed stored values.
LoadedGame loadGameSettings(const QSettings &store, const QString &appid,
                            const QString &currentLaunchOptions);

/// Writes every field of every record, in the order of the app ids, and syncs the store.
void saveAllGameSettings(QSettings &store, const QMap<QString, GameSettings> &records);

/// Saves the game's launch options if they are the user's own and none are saved for it yet.
void rememberOriginalLaunchOptions(QSettings &store, const QString &appid,
                                   const QString &currentLaunchOptions);

/// The launch options saved for the game; empty if there are none.
QString originalLaunchOptions(const QSettings &store, const QString &appid);

/// One change of the store's file. It locks the file's folder, so that other windows of the program
/// wait, and keeps what they wrote before. When it is destroyed, the store reads the file again.
class StoreEdit
{
public:
    /// Reads the store's file. Makes its folder, for this user alone, if it is missing.
    explicit StoreEdit(QSettings &settingsStore);
    ~StoreEdit();
    Q_DISABLE_COPY_MOVE(StoreEdit)

    /// The content of the file; nothing if it is missing. Null if another window keeps the lock, or
    /// if the file cannot be read or copied.
    const QSettings *content() const { return settings.get(); }

    /// True if the game's launch options can be saved: none are saved for it yet, and they have no
    /// byte-order mark (U+FEFF), which the file format loses.
    bool canKeep(const QString &appid, const QString &launchOptions) const;

    /// Saves all `records`, and the launch options in `originals`, by app id. canKeep() must be
    /// true for each. True if all of it is on the disk; otherwise the file is unchanged.
    bool save(const QMap<QString, GameSettings> &records, const QMap<QString, QString> &originals);

private:
    QSettings &store;
    base::FolderLock lock;
    std::optional<base::FileVersion> version;
    QByteArray bytes;                     ///< the file's content
    std::optional<QTemporaryDir> scratch; ///< beside the store's file
    std::unique_ptr<QSettings> settings;  ///< of a copy of it in there
};

} // namespace launch
