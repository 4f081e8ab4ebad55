// SPDX-License-Identifier: MIT
#include "launch/settingsstore.h"

#include "base/durablefile.h"
#include "launch/launchoptions.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QSettings>
#include <QStringBuilder>
#include <QStringTokenizer>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace launch
{
namespace
{

constexpr auto configGroup = "config/"_L1;
constexpr auto originalGroup = "original/"_L1;

constexpr auto scratchName = ".scratch-"_L1; // prefix of the folders beside the store's file

QString configKey(const QString &appid, QLatin1StringView field)
{
    return configGroup % appid % u'/' % field;
}

QString originalKey(const QString &appid)
{
    return originalGroup + appid;
}

QVariant fieldOf(const GameSettings &settings, const SettingsField &field)
{
    return std::visit([&](auto member) { return QVariant(settings.*member); }, field.member);
}

/// Makes the folder of the store's file, for this user alone, if it is missing. Returns its path.
QString makeFolder(const QSettings &store)
{
    const QString path = QFileInfo(store.fileName()).path();
    QDir().mkpath(QFileInfo(path).path());
    QDir().mkdir(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return path;
}

/// True if the store, which was read from `text`, holds every field of every record and all of the
/// launch options. Looks for the fields in the text: QSettings takes ten times as long.
bool holds(const QByteArray &text, const QSettings &store,
           const QMap<QString, GameSettings> &records, const QMap<QString, QString> &originals)
{
    QHash<QLatin1StringView, QLatin1StringView> fields;
    bool isConfig = false;
    for (const QLatin1StringView line : qTokenize(QLatin1StringView(text), u'\n')) {
        if (line.startsWith(u'['))
            isConfig = line == "[config]"_L1;
        else if (const qsizetype equals = line.indexOf(u'='); isConfig && equals >= 0)
            fields.insert(line.first(equals), line.sliced(equals + 1));
    }
    for (auto it = records.cbegin(); it != records.cend(); ++it) {
        const QByteArray game = it.key().toLatin1() + '\\';
        for (const SettingsField &field : settingsFields) {
            const QByteArray key = game + field.key.data();
            if (fields.value(QLatin1StringView(key)) != fieldOf(*it, field).toString())
                return false;
        }
    }
    return std::all_of(originals.keyValueBegin(), originals.keyValueEnd(), [&](const auto &kept) {
        return originalLaunchOptions(store, kept.first) == kept.second;
    });
}

/// True if no game's key vanished and no original changed since `before`. Other keys do not count:
/// QSettings renames a malformed key when it writes it.
bool keepsAll(const QSettings &now, const QSettings &before)
{
    const QStringList keys = before.allKeys();
    return std::all_of(keys.cbegin(), keys.cend(), [&](const QString &key) {
        return key.startsWith(originalGroup) ? now.value(key) == before.value(key)
                                             : !key.startsWith(configGroup) || now.contains(key);
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
        for (const SettingsField &field : settingsFields)
            store.setValue(configKey(it.key(), field.key), fieldOf(*it, field));
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

// QSettings treats an unreadable file as empty and reports success on a full disk. So it only works
// on a copy, and another QSettings reads what it wrote. That one gets a new file name, because
// QSettings caches by file name what it meant to write.

StoreEdit::StoreEdit(QSettings &settingsStore) : store(settingsStore), lock(makeFolder(store))
{
    const QString path = store.fileName();
    store.sync();
    version = base::fileVersion(path);
    const auto file = base::readWholeFile(path);
    if (!lock.isHeld() || (!file && !base::isMissing(path)))
        return;
    const QDir beside = QFileInfo(path).dir();
    for (const QFileInfo &left :
         beside.entryInfoList({scratchName + u'*'}, QDir::Dirs | QDir::Hidden | QDir::NoSymLinks))
        QDir(left.filePath()).removeRecursively(); // a killed run left it
    scratch.emplace(beside.filePath(scratchName + "XXXXXX"_L1));
    QFile copied(scratch->filePath(u"copy.conf"_s));
    bytes = file ? file->bytes : QByteArray();
    if (copied.open(QIODevice::WriteOnly) && copied.write(bytes) == bytes.size() && copied.flush())
        settings = std::make_unique<QSettings>(copied.fileName(), QSettings::NativeFormat);
}

StoreEdit::~StoreEdit()
{
    store.sync();
}

bool StoreEdit::canKeep(const QString &appid, const QString &launchOptions) const
{
    return settings && !settings->contains(originalKey(appid)) &&
           !launchOptions.contains(u'\ufeff');
}

bool StoreEdit::save(const QMap<QString, GameSettings> &records,
                     const QMap<QString, QString> &originals)
{
    if (!settings)
        return false;
    if (holds(bytes, *settings, records, originals))
        return true;
    for (auto it = originals.cbegin(); it != originals.cend(); ++it)
        rememberOriginalLaunchOptions(*settings, it.key(), *it);
    saveAllGameSettings(*settings, records);
    const QString path = scratch->filePath(u"proof.conf"_s);
    if (!QFile::rename(settings->fileName(), path))
        return false;
    const auto written = base::readWholeFile(path);
    const QSettings proof(path, QSettings::NativeFormat);
    return written && holds(written->bytes, proof, records, originals) && keepsAll(proof, store) &&
           base::replaceFile(store.fileName(), written->bytes, version) == base::Replaced::Yes;
}

} // namespace launch
