// SPDX-License-Identifier: MIT
#include "app/mainwindow.h"

#include "app/busydialog.h"
#include "app/waitcursor.h"
#include "launch/launchoptions.h"
#include "launch/settingsstore.h"
#include "steam/launchoptionseditor.h"
#include "steam/locations.h"
#include "steam/steamprocess.h"

#include <QCoreApplication>
#include <QMessageBox>

#include <algorithm>

using namespace Qt::StringLiterals;

// Carrying the pending changes into Steam's file. The changes are staged once, from the last scan,
// before Steam is closed.

namespace
{

constexpr int steamExitSeconds = 90;

void warn(QWidget *parent, const QString &text)
{
    QMessageBox::warning(parent, u"Marrowpulse"_s, text);
}

bool ask(QWidget *parent, const QString &text)
{
    return QMessageBox::question(parent, u"Marrowpulse"_s, text) == QMessageBox::Yes;
}

} // namespace

void MainWindow::apply()
{
    const QString vdf = steam::localConfigPath();
    if (vdf.isEmpty()) {
        warn(this, u"Could not find Steam's localconfig.vdf."_s);
        return;
    }
    const QList<StagedChange> changes = stageChanges();
    if (changes.isEmpty())
        return;
    if (steam::isSteamRunning() && !closeSteam())
        return;

    QStringList failures;
    bool backedUp = false;
    {
        const WaitCursor waiting;
        backedUp = !steam::writeBackup(vdf).isEmpty();
        if (backedUp) {
            failures = editGames(vdf, changes);
            launch::saveAllGameSettings(store, gameSettings);
        }
    }
    if (!backedUp) {
        warn(this, u"Could not write a backup of Steam's config; nothing was changed."_s);
        return;
    }
    if (!failures.isEmpty())
        warn(this, "Some changes failed:\n"_L1 + failures.join(u'\n'));
    if (ask(this, u"Changes applied. Restart Steam now?"_s))
        steam::startSteam();
    updatePendingStatus();
}

QList<MainWindow::StagedChange> MainWindow::stageChanges() const
{
    QList<StagedChange> changes;
    for (const steam::GameEntry &game : games) {
        if (isPending(game))
            changes.append({game.appid, desiredLaunchOptions(game)});
    }
    return changes;
}

/// Asks for consent, sends Steam the request and waits for it. False when nothing may be written.
bool MainWindow::closeSteam()
{
    if (!ask(
            this,
            u"Steam stores launch options in a file it rewrites on exit, so it must be closed to apply changes.\n\nClose Steam now? (It will be restarted afterwards.)"_s))
        return false;
    bool exited = false;
    {
        BusyDialog busy(u"Waiting for Steam to close\u2026"_s, this);
        exited = steam::shutdownSteam(steamExitSeconds, [] { QCoreApplication::processEvents(); });
    }
    if (!exited)
        warn(this, u"Steam did not exit; nothing was changed."_s);
    return exited;
}

/// Edits game by game and returns a line for each edit that failed. No game's own options are
/// replaced before they are on the disk in the store.
QStringList MainWindow::editGames(const QString &vdf, const QList<StagedChange> &changes)
{
    launch::syncStore(store); // what another window of this program has kept meanwhile stays
    for (const StagedChange &change : changes) {
        for (const steam::GameEntry *game : entriesOf(change.appid))
            launch::rememberOriginalLaunchOptions(store, game->appid, game->launchOptions);
    }
    const bool remembered = launch::syncStore(store);

    QStringList failures;
    for (const StagedChange &change : changes) {
        const QList<steam::GameEntry *> entries = entriesOf(change.appid);
        const bool replacesOwn = std::any_of(entries.cbegin(), entries.cend(), [](auto *game) {
            return !game->launchOptions.isEmpty() &&
                   !launch::isOwnLaunchOptions(game->launchOptions);
        });
        QString message;
        if (replacesOwn && !remembered && !launch::isOriginalOnDisk(store, change.appid)) {
            message = "could not write backup for "_L1 + vdf;
        } else if (steam::setLaunchOptions(vdf, change.appid, change.launchOptions, false,
                                           &message)) {
            for (steam::GameEntry *game : entries)
                game->launchOptions = change.launchOptions;
            continue;
        }
        failures.append(change.appid + ": "_L1 + message);
    }
    return failures;
}

/// The entries of a game in the last scan: one for each library that holds it.
QList<steam::GameEntry *> MainWindow::entriesOf(const QString &appid)
{
    QList<steam::GameEntry *> entries;
    for (steam::GameEntry &game : games) {
        if (game.appid == appid)
            entries.append(&game);
    }
    return entries;
}
