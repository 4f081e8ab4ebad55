// SPDX-License-Identifier: MIT
#include "launch/settingsstore.h"

#include "base/durablefile.h"
#include "launch/launchoptions.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

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

/// What a store's file with these bytes says; nothing when it cannot be told. QSettings reads files
/// only, takes one that it fails to read for an empty one, and remembers a file by name, size and
/// time: it is given one in memory, of a time of its own.
std::optional<QMap<QString, QString>> contentOf(const QByteArray &bytes)
{
    static timespec uniqueTime = {};
    ++uniqueTime.tv_sec;
    const timespec times[2] = {uniqueTime, uniqueTime};
    QFile file;
    const int descriptor = ::memfd_create("settings", MFD_CLOEXEC);
    if (descriptor < 0 || !file.open(descriptor, QIODevice::WriteOnly | QIODevice::Unbuffered,
                                     QFileDevice::AutoCloseHandle))
        return std::nullopt;
    if (file.write(bytes) != bytes.size() || ::futimens(descriptor, times) != 0)
        return std::nullopt;
    const QString name = "/proc/self/fd/"_L1 + QString::number(descriptor);
    const QSettings store(name, QSettings::IniFormat);
    if (store.status() == QSettings::AccessError)
        return std::nullopt;
    return contentOf(store);
}

/// What the store itself holds, without the defaults that a system may set for all its users.
QMap<QString, QString> ownContentOf(QSettings &store)
{
    const bool fallbacks = store.fallbacksEnabled();
    store.setFallbacksEnabled(false);
    const QMap<QString, QString> content = contentOf(store);
    store.setFallbacksEnabled(fallbacks);
    return content;
}

bool isOriginal(const QString &key)
{
    return key.startsWith("original/"_L1);
}

/// Whether the key is one of this program's.
bool isOwn(const QString &key)
{
    return isOriginal(key) || key.startsWith("config/"_L1);
}

/// Whether `now` has every key of this program's that `wanted` has, with its value, and every one
/// that `before` has. Launch options that are kept for a game are kept unchanged. Other keys do not
/// count: a malformed one has another name once QSettings has written it.
bool holdsAll(const QMap<QString, QString> &now, const QMap<QString, QString> &wanted,
              const QMap<QString, QString> &before)
{
    const auto isHeld = [&now](const QMap<QString, QString> &content, const QString &key) {
        return now.contains(key) && now[key] == content[key];
    };
    return std::all_of(wanted.keyBegin(), wanted.keyEnd(),
                       [&](const QString &key) { return !isOwn(key) || isHeld(wanted, key); }) &&
           std::all_of(before.keyBegin(), before.keyEnd(), [&](const QString &key) {
               return isOriginal(key) ? isHeld(before, key) : !isOwn(key) || now.contains(key);
           });
}

bool exists(const QString &path)
{
    return ::access(QFile::encodeName(path).constData(), F_OK) == 0 || errno != ENOENT;
}

/// The store's file, encoded, wherever links lead to; empty when there is none.
QByteArray fileOf(const QSettings &store)
{
    return QFile::encodeName(QFileInfo(store.fileName()).canonicalFilePath());
}

/// The second name that the old file keeps while a new one takes its place: one that nobody would
/// give to a copy of his own.
QByteArray spareOf(const QByteArray &file)
{
    return file + ".marrow-spare";
}

} // namespace

LoadedGame loadGameSettings(const QSettings &store, const QString &appid,
                            const QString &currentLaunchOptions)
{
    if (isOwnLaunchOptions(currentLaunchOptions))
        return {parseLaunchOptions(currentLaunchOptions), true};
    if (!store.contains(configKey(appid, "framegen"_L1)))
        return {};
    LoadedGame game;
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

bool isOriginalOnDisk(const QSettings &store, const QString &appid)
{
    const std::optional<QByteArray> bytes = base::readWholeFile(store.fileName());
    const auto content = contentOf(bytes.value_or(QByteArray()));
    return content && content->contains(originalKey(appid));
}

void recoverStore(QSettings &store)
{
    const QString path = store.fileName();
    const QByteArray file = exists(path) ? fileOf(store) : QFile::encodeName(path);
    const QByteArray spare = spareOf(file);
    const std::optional<QByteArray> kept = base::readWholeFile(QFile::decodeName(spare));
    if (!kept)
        return;
    const std::optional<QByteArray> left = base::readWholeFile(path);
    if (!left && exists(path))
        return;
    const auto contentKept = contentOf(*kept);
    const auto content = contentOf(left.value_or(QByteArray()));
    if (!contentKept || !content)
        return;
    if (holdsAll(*content, {}, *contentKept)) {
        ::unlink(spare.constData());
    } else if (::rename(spare.constData(), file.constData()) == 0) {
        base::syncFileAndFolder(path);
        store.sync(); // reads it
    }
}

bool syncStore(QSettings &store)
{
    const QMap<QString, QString> wanted = ownContentOf(store);
    const QString path = store.fileName();
    const bool existed = exists(path);
    // A second name for the old file takes no room and needs none when it is put back.
    const QByteArray file = fileOf(store);
    const QByteArray spare = spareOf(file);
    if (!file.isEmpty())
        ::unlink(spare.constData());
    const bool hasSpare = !file.isEmpty() && ::link(file.constData(), spare.constData()) == 0;
    const std::optional<QByteArray> before = base::readWholeFile(path);

    store.sync();
    // An unsynced rest would be written by the event loop, where nobody looks at the result.
    QCoreApplication::removePostedEvents(&store, QEvent::UpdateRequest);

    const std::optional<QByteArray> after = base::readWholeFile(path);
    const auto contentBefore = contentOf(before.value_or(QByteArray()));
    const auto contentAfter = contentOf(after.value_or(QByteArray()));
    const bool kept = existed == before.has_value() && contentBefore && contentAfter &&
                      holdsAll(*contentAfter, wanted, *contentBefore);
    if (kept) {
        if (hasSpare)
            ::unlink(spare.constData());
        return !after || base::syncFileAndFolder(path);
    }

    const bool isBack = (hasSpare && ::rename(spare.constData(), file.constData()) == 0) ||
                        after == before ||
                        (before && base::replaceFile(path, *before) == base::Replaced::Yes);
    if (!existed && !before)
        QFile::remove(path);
    if (isBack && hasSpare)
        ::unlink(spare.constData()); // one file's two names stay when one is renamed to the other
    base::syncFileAndFolder(path);
    if (after != before)
        store.sync(); // forget what did not reach the disk
    return false;
}

} // namespace launch
