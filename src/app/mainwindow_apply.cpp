// SPDX-License-Identifier: MIT
#include "app/mainwindow.h"

#include "app/busydialog.h"
#include "app/messages.h"
#include "app/waitcursor.h"
#include "launch/launchoptions.h"
#include "launch/settingsstore.h"
#include "steam/launchoptionseditor.h"
#include "steam/locations.h"
#include "steam/steamprocess.h"

#include <QCoreApplication>
#include <QListWidget>
#include <QScopeGuard>
#include <QScopedValueRollback>

#include <algorithm>

using namespace Qt::StringLiterals;
using steam::LaunchOptionsChange;

// Carrying the pending changes into Steam's file. The changes are staged once, from the last scan,
// before Steam is closed.

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
    store.sync(); // what another window of the program has kept meanwhile counts, too
    const QList<LaunchOptionsChange> changes = stageChanges();
    if (changes.isEmpty())
        return;
    if (steam::isSteamRunning() && !closeSteam())
        return;

    QStringList failures;
    bool backedUp = false;
    {
        const WaitCursor waiting;
        backedUp = !steam::writeBackup(vdf).isEmpty();
        letRepaint();
        if (backedUp)
            failures = editGames(vdf, changes);
    }
    if (!backedUp) {
        warn(this, u"Could not write a backup of Steam's config; nothing was changed."_s);
        return;
    }
    updatePendingStatus(); // what is seen behind the boxes is true
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

/// Makes the changes in Steam's file, saves the store, and returns a line for each change that
/// failed. What the file holds now counts, not the last scan: Steam wrote it as it exited.
QStringList MainWindow::editGames(const QString &vdf, const QList<LaunchOptionsChange> &staged)
{
    QString error;
    const std::optional<base::WholeFile> file = steam::readLocalConfig(vdf, &error);
    QHash<QString, QString> messages;   // why a game's change failed, by app id
    QHash<QString, QString> held;       // what the file holds for a game afterwards
    QList<LaunchOptionsChange> changes; // a game in two libraries is staged twice, and edited once
    for (const LaunchOptionsChange &change : staged) {
        if (!file)
            messages.insert(change.appid, error);
        else if (!held.contains(change.appid))
            changes.append(change);
        held.insert(change.appid, change.launchOptions);
    }
    const QByteArray text = file ? file->bytes : QByteArray();
    steam::EditedText edited = steam::editLaunchOptions(text, changes);

    QMap<QString, QString> originals; // that are to be replaced
    QSet<QString> leftOut;            // games that are not edited after all
    for (qsizetype i = 0; i < changes.size(); ++i) {
        const QString &appid = changes[i].appid;
        const steam::EditOutcome &outcome = edited.outcomes[i];
        if (wasTypedMeanwhile(changes[i], outcome.before)) {
            held[appid] = outcome.before;
            leftOut.insert(appid);
        } else if (launch::isUsersOwn(outcome.before) && !outcome.isOldTextDoubtful) {
            originals.insert(appid, outcome.before);
        }
    }
    for (const QString &appid : saveStore(originals)) {
        messages.insert(appid, "could not write backup for "_L1 + store.fileName());
        leftOut.insert(appid);
    }
    letRepaint();
    const auto isLeftOut = [&](const LaunchOptionsChange &change) {
        return leftOut.contains(change.appid);
    };
    if (changes.removeIf(isLeftOut) > 0)
        edited = steam::editLaunchOptions(text, changes);

    const auto isMade = [](const steam::EditOutcome &outcome) { return outcome.message.isEmpty(); };
    const bool replaced = std::none_of(edited.outcomes.cbegin(), edited.outcomes.cend(), isMade) ||
                          steam::replaceLocalConfig(vdf, edited.bytes, file->version, &error);
    for (qsizetype i = 0; i < changes.size(); ++i) {
        if (!isMade(edited.outcomes[i]))
            messages.insert(changes[i].appid, edited.outcomes[i].message);
        else if (!replaced)
            messages.insert(changes[i].appid, error);
    }

    for (steam::GameEntry &game : games) {
        if (held.contains(game.appid) && !messages.contains(game.appid))
            game.launchOptions = held[game.appid];
    }
    QStringList lines;
    for (const LaunchOptionsChange &change : staged) {
        if (messages.contains(change.appid))
            lines.append(change.appid + ": "_L1 + messages[change.appid]);
    }
    return lines;
}

/// Saves all settings, and the games' own options that are about to be replaced, by app id. The app
/// ids of those whose options are not on the disk afterwards: they must not be replaced.
QStringList MainWindow::saveStore(const QMap<QString, QString> &originals)
{
    launch::changeStore(store, [&](QSettings &scratch) {
        for (auto it = originals.cbegin(); it != originals.cend(); ++it)
            launch::rememberOriginalLaunchOptions(scratch, it.key(), it.value());
        launch::saveAllGameSettings(scratch, gameSettings);
    });
    QStringList lost = originals.keys();
    lost.removeIf([this](const QString &appid) {
        return !launch::originalLaunchOptions(store, appid).isEmpty();
    });
    return lost;
}

/// Whether a game that is to have nothing any more, for nothing is kept for it, no longer holds the
/// program's options either: what was typed in Steam since the scan stays.
bool MainWindow::wasTypedMeanwhile(const LaunchOptionsChange &change, const QString &current) const
{
    return change.launchOptions.isEmpty() && !launch::isOwnLaunchOptions(current) &&
           launch::originalLaunchOptions(store, change.appid).isEmpty();
}

/// Lets the window be painted and answer the window manager; it takes no input meanwhile.
void MainWindow::letRepaint()
{
    QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}
