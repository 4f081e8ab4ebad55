// SPDX-License-Identifier: MIT
#include "app/mainwindow.h"

#include "app/applychanges.h"
#include "app/busydialog.h"
#include "app/messages.h"
#include "steam/localconfigfile.h"
#include "steam/locations.h"
#include "steam/steamprocess.h"

#include <QGuiApplication>
#include <QListWidget>
#include <QScopeGuard>
#include <QScopedValueRollback>

using namespace Qt::StringLiterals;
using steam::LaunchOptionsChange;

// Writes the pending changes to Steam's file. They are staged once, from the last scan, before
// Steam is closed.

namespace
{

constexpr int steamExitSeconds = 90;

} // namespace

void MainWindow::apply()
{
    if (isBusy())
        return;
    const QScopedValueRollback<bool> busy(applying, true);
    const auto focus = qScopeGuard([this] { gameList->setFocus(); }); // not on the next control
    const QString vdf = steam::localConfigPath();
    if (vdf.isEmpty()) {
        warn(this, u"Could not find Steam's localconfig.vdf."_s);
        return;
    }
    store.sync(); // another window of the program may have saved options
    const QList<LaunchOptionsChange> changes = stageChanges();
    if (changes.isEmpty())
        return;
    if (steam::isSteamRunning() && !closeSteam())
        return;

    QStringList failures;
    bool backedUp = false;
    {
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
        const auto waiting = qScopeGuard(&QGuiApplication::restoreOverrideCursor);
        backedUp = !steam::writeBackup(vdf).isEmpty();
        letRepaint();
        if (backedUp)
            failures = takeOver(changes, applyChanges(vdf, changes, store, gameSettings));
    }
    if (!backedUp) {
        warn(this, u"Could not write a backup of Steam's config; nothing was changed."_s);
        return;
    }
    updatePendingStatus(); // the window is visible behind the boxes
    if (!failures.isEmpty())
        warn(this, "Some changes failed:\n"_L1 + failures.join(u'\n'));
    if (ask(this, u"Changes applied. Restart Steam now?"_s))
        steam::startSteam();
    updatePendingStatus();
}

QList<LaunchOptionsChange> MainWindow::stageChanges() const
{
    QList<LaunchOptionsChange> changes;
    for (const steam::GameEntry &game : games) {
        const QString desired = desiredLaunchOptions(game);
        if (desired != game.launchOptions)
            changes.append({game.appid, desired});
    }
    return changes;
}

/// Asks the user, closes Steam and waits until it has exited. False if nothing may be written.
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

/// Updates the games to what Steam's file holds now; returns a line for each change that failed.
QStringList MainWindow::takeOver(const QList<LaunchOptionsChange> &staged,
                                 const AppliedChanges &applied)
{
    for (steam::GameEntry &game : games)
        game.launchOptions = applied.launchOptions.value(game.appid, game.launchOptions);
    QStringList lines;
    for (const LaunchOptionsChange &change : staged) {
        if (applied.failures.contains(change.appid))
            lines.append(change.appid + ": "_L1 + applied.failures[change.appid]);
    }
    return lines;
}

/// Repaints the window and answers the window manager, but takes no input.
void MainWindow::letRepaint()
{
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}
