// SPDX-License-Identifier: MIT
#pragma once

#include "base/folderlock.h"
#include "base/readfile.h"
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

// What the program keeps between runs: "config/<app id>/<field>" for every game's settings and
// "original/<app id>" for the launch options a game had before the program first replaced them.
// Nothing is ever removed from the store.
namespace launch
{

/// One field of a game's settings as the store knows it.
struct SettingsField {
    QLatin1StringView key; ///< last part of the store's key
    std::variant<bool GameSettings::*, int GameSettings::*> member;
    int readDefault; ///< what an absent key reads as; for a bool 0 or 1
};

/// The thirteen fields, in the order in which they are written. The last five read as what they
/// mean when absent; the first eight as nothing, because they have always been written together.
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
    bool enabled = false; ///< the game runs under the program now
};

/// The settings of a game that is seen for the first time: those its current launch options express
/// when the program wrote them (then the game is enabled), else the stored ones, else the defaults.
/// Malformed stored values read as Qt's conversions give them.
LoadedGame loadGameSettings(const QSettings &store, const QString &appid,
                            const QString &currentLaunchOptions);

/// Sets every field of every record, in the order of the app ids, and syncs the store.
void saveAllGameSettings(QSettings &store, const QMap<QString, GameSettings> &records);

/// Keeps a game's launch options, once: not when some are kept, nor when they are no user's own.
void rememberOriginalLaunchOptions(QSettings &store, const QString &appid,
                                   const QString &currentLaunchOptions);

/// The launch options kept for the game; empty when there are none.
QString originalLaunchOptions(const QSettings &store, const QString &appid);

/// One change of the store's file. Other windows of the program wait until it ends, and the store
/// has read the file anew then. What another window wrote before it stays.
class StoreEdit
{
public:
    /// Reads the store's file. Makes its folder, for this user alone, where it is missing.
    explicit StoreEdit(QSettings &settingsStore);
    ~StoreEdit();
    Q_DISABLE_COPY_MOVE(StoreEdit)

    /// What the file holds; a missing one holds nothing. Null when another window has the file all
    /// the time, and when the file cannot be read or copied.
    const QSettings *content() const { return settings.get(); }

    /// True if the game's launch options can be kept: none are kept for it yet, and the file format
    /// can hold them. It loses a byte-order mark (U+FEFF).
    bool canKeep(const QString &appid, const QString &launchOptions) const;

    /// Saves all `records`, and launch options that can be kept (see canKeep()) by app id. True
    /// when all of them are on the disk; otherwise the file is as it was.
    bool save(const QMap<QString, GameSettings> &records, const QMap<QString, QString> &originals);

private:
    QSettings &store;
    base::FolderLock lock;
    std::optional<base::FileVersion> version;
    std::optional<QTemporaryDir> scratch; ///< beside the store's file
    std::unique_ptr<QSettings> settings;  ///< of a copy of it in there
};

} // namespace launch
