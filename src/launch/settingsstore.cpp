// SPDX-License-Identifier: MIT
#include "launch/settingsstore.h"

#include "base/durablefile.h"
#include "base/folderlock.h"
#include "launch/launchoptions.h"

#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QSettings>
#include <QTemporaryDir>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace launch
{
namespace
{

constexpr auto configGroup = "config/"_L1;
constexpr auto originalGroup = "original/"_L1;

QString configKey(const QString &appid, QLatin1StringView field)
{
    return configGroup + appid + u'/' + field;
}

QString originalKey(const QString &appid)
{
    return originalGroup + appid;
}

using Content = QMap<QString, QString>;

/// The program's own keys, each with its value as text, as the file format has it. Other keys do
/// not count: a malformed one has another name once QSettings has written it.
Content contentOf(const QSettings &store)
{
    Content content;
    for (const QString &key : store.allKeys()) {
        if (key.startsWith(configGroup) || key.startsWith(originalGroup))
            content.insert(key, store.value(key).toString());
    }
    return content;
}

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush();
}

/// What a store of these bytes holds, read at a path where none ever was; no value on an error.
std::optional<Content> contentOf(const QByteArray &bytes, const QString &newPath)
{
    const bool isWritten = write(newPath, bytes);
    return isWritten ? std::optional(contentOf(QSettings(newPath, QSettings::NativeFormat)))
                     : std::nullopt;
}

/// Whether no key was lost, and no launch options that are kept got others: QSettings takes what it
/// cannot read for empty.
bool keepsAll(const Content &now, const Content &before)
{
    return std::all_of(before.keyBegin(), before.keyEnd(), [&](const QString &key) {
        return now.contains(key) && (key.startsWith(configGroup) || now[key] == before[key]);
    });
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
            const auto value = [&](auto member) { return QVariant((*it).*member); };
            store.setValue(configKey(it.key(), field.key), std::visit(value, field.member));
        }
    }
    store.sync();
}

void rememberOriginalLaunchOptions(QSettings &store, const QString &appid,
                                   const QString &currentLaunchOptions)
{
    if (isUsersOwn(currentLaunchOptions) && !store.contains(originalKey(appid)))
        store.setValue(originalKey(appid), currentLaunchOptions);
}

QString originalLaunchOptions(const QSettings &store, const QString &appid)
{
    return store.value(originalKey(appid)).toString();
}

// QSettings reads and writes the format, but only in copies, and what it says is read again under a
// name that it never saw: it reports success on a full disk, and remembers what it meant to write
// under the name that it knows.
bool changeStore(QSettings &store, const std::function<void(QSettings &)> &change)
{
    const auto readAnew = qScopeGuard([&store] { store.sync(); });
    const QString path = store.fileName();
    base::makePrivateFolder(QFileInfo(path).path());
    const base::FolderLock lock(QFileInfo(path).path());
    const auto version = base::fileVersion(path);
    const auto file = base::readWholeFile(path);
    if (!lock.isHeld() || (!file && !base::isMissing(path)))
        return false;
    const QByteArray old = file ? file->bytes : QByteArray();
    const QTemporaryDir scratch;
    const QString copy = scratch.filePath(u"copy.conf"_s);
    const auto before = contentOf(old, scratch.filePath(u"old.conf"_s));
    if (!before || !write(copy, old))
        return false;
    QSettings settings(copy, QSettings::NativeFormat);
    change(settings);
    Content wanted = contentOf(settings); // before it may read again what it failed to write
    if (!keepsAll(wanted, *before))
        return false;
    bool isAll = true;
    for (const QString &proof :
         {scratch.filePath(u"proof.conf"_s), scratch.filePath(u"second-proof.conf"_s)}) {
        if (wanted == before)
            return isAll;
        settings.sync();
        const auto written = base::readFile(copy);
        const auto content = written ? contentOf(*written, proof) : std::nullopt;
        if (!content)
            return false;
        if (content == wanted)
            return base::replaceFile(path, *written, version) == base::Replaced::Yes && isAll;
        isAll = false;
        for (const QString &key : wanted.keys()) {
            if (key.startsWith(originalGroup) && !before->contains(key) &&
                content->value(key) != wanted[key]) {
                settings.remove(key);
                wanted.remove(key);
            }
        }
    }
    return false;
}

} // namespace launch
