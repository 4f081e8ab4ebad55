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

/// The staged changes that are to be made, each game's once. What becomes of the others is put into
/// `applied`. A ticked game is to get launch options of the program's own; any other one is to get
/// what was kept for it when the changes were staged.
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

/// Keeps the launch options of the user's own that are about to be replaced, unless some are kept
/// for the game already, and saves all settings along with them. Returns the app ids of those games
/// whose options are not on the disk afterwards.
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
    QString error;
    const auto file = steam::readLocalConfig(vdf, &error);
    const QByteArray text = file ? file->bytes : QByteArray();
    const steam::AppsSection section(text);
    const QString cannotKeep = steam::noBackupMessage(store.fileName());
    launch::StoreEdit storeEdit(store);

    QList<LaunchOptionsChange> changes =
        changesToMake(staged, section, storeEdit.content(), cannotKeep, applied);
    if (!file) {
        applied.launchOptions.clear(); // it is not known what any game has
        for (const auto &[appid, options] : staged) {
            const QString refusal = steam::storageRefusal(options);
            if (!applied.failures.contains(appid))
                applied.failures.insert(appid, refusal.isEmpty() ? error : refusal);
        }
    }
    const auto dropFailed = [&] {
        return changes.removeIf([&](const LaunchOptionsChange &change) {
            return applied.failures.contains(change.appid);
        });
    };
    dropFailed();

    steam::EditedText edited = steam::editLaunchOptions(text, changes);
    applied.failures.insert(edited.refusals);
    dropFailed();
    for (const QString &appid : keepOriginals(changes, section, storeEdit, records))
        applied.failures.insert(appid, cannotKeep);
    if (dropFailed() > 0) {
        edited = steam::editLaunchOptions(text, changes);
        applied.failures.insert(edited.refusals);
        dropFailed();
    }
    const bool isReplaced =
        changes.isEmpty() || steam::replaceLocalConfig(vdf, edited.bytes, file->version, &error);
    for (const auto &[appid, options] : changes) {
        if (isReplaced)
            applied.launchOptions.insert(appid, options);
        else
            applied.failures.insert(appid, error);
    }
    return applied;
}
