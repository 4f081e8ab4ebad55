// SPDX-License-Identifier: MIT
#include "app/applychanges.h"

#include "launch/launchoptions.h"
#include "launch/settingsstore.h"
#include "steam/keyvalues.h"
#include "steam/localconfigfile.h"

#include <QSet>
#include <QSettings>

using steam::LaunchOptionsChange;

namespace
{

/// The staged changes to make, one per game. The results of the others are put into `applied`. A
/// game is ticked if its new launch options are the program's own; an unticked one gets the options
/// that were saved for it when the changes were staged.
QList<LaunchOptionsChange> changesToMake(const QList<LaunchOptionsChange> &staged,
                                         const steam::AppsSection &file, const QSettings *kept,
                                         const QString &cannotKeep, AppliedChanges &applied)
{
    QList<LaunchOptionsChange> changes;
    QSet<QString> seen;
    for (const LaunchOptionsChange &change : staged) {
        const auto &[appid, options] = change;
        if (seen.contains(appid))
            continue; // the game is in two libraries
        seen.insert(appid);
        const QString current = file.launchOptions(appid);
        const bool isTicked = launch::isOwnLaunchOptions(options);
        if (!isTicked && (!kept || launch::originalLaunchOptions(*kept, appid) != options))
            applied.failures.insert(appid, cannotKeep);
        else if (!isTicked && options.isEmpty() && !launch::isOwnLaunchOptions(current))
            applied.launchOptions.insert(appid, current); // typed in Steam since the scan
        else
            changes.append(change);
    }
    return changes;
}

/// Leaves out the changes that failed. True if there were any.
bool dropFailed(QList<LaunchOptionsChange> &changes, const AppliedChanges &applied)
{
    return changes.removeIf([&applied](const LaunchOptionsChange &change) {
        return applied.failures.contains(change.appid);
    }) > 0;
}

/// Saves all settings, and the user's own launch options that are about to be replaced, unless some
/// are saved for the game already. Returns the app ids of games whose options are not on the disk
/// afterwards.
QStringList keepOriginals(const QList<LaunchOptionsChange> &changes, const steam::AppsSection &file,
                          launch::StoreEdit &store,
                          const QMap<QString, launch::GameSettings> &records)
{
    QStringList lost;
    QMap<QString, QString> originals;
    for (const auto &[appid, options] : changes) {
        const QString current = file.launchOptions(appid);
        const QSettings *content = store.content();
        if (!launch::isUsersOwn(current) ||
            (content && !launch::originalLaunchOptions(*content, appid).isEmpty()))
            continue;
        if (store.canKeep(appid, current))
            originals.insert(appid, current);
        else
            lost.append(appid);
    }
    return store.save(records, originals) ? lost : lost + originals.keys();
}

} // namespace

AppliedChanges applyChanges(const QString &vdf, const QList<LaunchOptionsChange> &staged,
                            QSettings &store, const QMap<QString, launch::GameSettings> &records)
{
    AppliedChanges applied;
    const auto file = base::readWholeFile(vdf);
    launch::StoreEdit storeEdit(store);
    if (!file) {
        for (const auto &[appid, options] : staged) {
            const QString refusal = steam::storageRefusal(options);
            applied.failures.insert(appid, refusal.isEmpty() ? steam::cannotOpen + vdf : refusal);
        }
        storeEdit.save(records, {});
        return applied;
    }

    const steam::AppsSection section(file->bytes);
    const QString cannotKeep = steam::cannotBackUp + store.fileName();
    QList<LaunchOptionsChange> changes =
        changesToMake(staged, section, storeEdit.content(), cannotKeep, applied);
    const auto edit = [&] { // and leaves out the refused changes
        const steam::EditedText edited = steam::editLaunchOptions(section, changes);
        applied.failures.insert(edited.refusals);
        dropFailed(changes, applied);
        return edited.bytes;
    };
    QByteArray bytes = edit();
    for (const QString &appid : keepOriginals(changes, section, storeEdit, records))
        applied.failures.insert(appid, cannotKeep);
    if (dropFailed(changes, applied))
        bytes = edit();

    const QString error =
        changes.isEmpty() ? QString() : steam::replaceLocalConfig(vdf, bytes, file->version);
    for (const auto &[appid, options] : changes)
        (error.isEmpty() ? applied.launchOptions : applied.failures)
            .insert(appid, error.isEmpty() ? options : error);
    return applied;
}
