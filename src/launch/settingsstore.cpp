// SPDX-License-Identifier: MIT
#include "launch/settingsstore.h"

#include "base/durablefile.h"
#include "launch/launchoptions.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QSettings>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace launch
{
namespace
{

QString configKey(const QString &appid, QLatin1StringView field)
{
    return "config/"_L1 + appid + u'/' + field;
}

QString originalKey(const QString &appid)
{
    return "original/"_L1 + appid;
}

/// Every key with its value as text, which is all that the file format tells of a value.
QMap<QString, QString> contentOf(const QSettings &store)
{
    QMap<QString, QString> content;
    for (const QString &key : store.allKeys())
        content.insert(key, store.value(key).toString());
    return content;
}

/// What the store's file says, past what QSettings remembers of it: QSettings shares one memory of
/// a file between all objects of one path, so the file is read under another name.
QMap<QString, QString> contentOnDisk(const QSettings &store)
{
    return contentOf(QSettings("/proc/self/root"_L1 + store.fileName(), QSettings::IniFormat));
}

/// Whether the store's file holds all the values that the store has in memory.
bool isOnDisk(const QSettings &store)
{
    const QMap<QString, QString> onDisk = contentOnDisk(store);
    const QMap<QString, QString> inMemory = contentOf(store);
    return std::all_of(inMemory.keyBegin(), inMemory.keyEnd(), [&](const QString &key) {
        return onDisk.contains(key) && onDisk[key] == inMemory[key];
    });
}

} // namespace

LoadedGame loadGameSettings(const QSettings &store, const QString &appid,
                            const QString &currentLaunchOptions)
{
    if (isOwnLaunchOptions(currentLaunchOptions))
        return {parseLaunchOptions(currentLaunchOptions), true};
    LoadedGame game;
    if (!store.contains(configKey(appid, "framegen"_L1)))
        return game;
    for (const SettingsField &field : settingsFields) {
        const QVariant value = store.value(configKey(appid, field.key), field.readDefault);
        if (const auto *flag = std::get_if<bool GameSettings::*>(&field.member))
            game.settings.*(*flag) = value.toBool();
        else
            game.settings.*std::get<int GameSettings::*>(field.member) = value.toInt();
    }
    return game;
}

void saveAllGameSettings(QSettings &store, const QMap<QString, GameSettings> &records)
{
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        for (const SettingsField &field : settingsFields) {
            std::visit(
                [&](auto member) { store.setValue(configKey(it.key(), field.key), (*it).*member); },
                field.member);
        }
    }
    syncStore(store);
}

void rememberOriginalLaunchOptions(QSettings &store, const QString &appid,
                                   const QString &currentLaunchOptions)
{
    if (currentLaunchOptions.isEmpty() || isOwnLaunchOptions(currentLaunchOptions) ||
        store.contains(originalKey(appid)))
        return;
    store.setValue(originalKey(appid), currentLaunchOptions);
}

QString originalLaunchOptions(const QSettings &store, const QString &appid)
{
    return store.value(originalKey(appid)).toString();
}

bool syncStore(QSettings &store)
{
    const QStringList wanted = store.allKeys();
    const QString path = store.fileName();
    const std::optional<QByteArray> before = base::readWholeFile(path);
    store.sync();
    // An unsynced rest would be written by the event loop, where nobody looks at the result.
    QCoreApplication::removePostedEvents(&store, QEvent::UpdateRequest);

    const bool keptAll = std::all_of(wanted.cbegin(), wanted.cend(),
                                     [&](const QString &key) { return store.contains(key); });
    if (keptAll && isOnDisk(store))
        return wanted.isEmpty() || base::syncFileAndFolder(path);

    if (base::readWholeFile(path) != before) {
        if (before)
            base::replaceFile(path, *before);
        else
            QFile::remove(path);
        store.sync(); // forget what did not reach the disk
    }
    return false;
}

} // namespace launch
