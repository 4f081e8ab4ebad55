// SPDX-License-Identifier: MIT
#include "steam/gamescan.h"

#include "base/files.h"
#include "steam/keyvalues.h"
#include "steam/locations.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace steam
{
namespace
{

constexpr auto losslessScalingAppid = "993090"_L1;

/// True for Steam's own runtimes and tools, which have manifests like games.
bool isSteamTool(const QString &name)
{
    return name.startsWith("Proton"_L1) || name.startsWith("Steam Linux Runtime"_L1) ||
           name.contains("Steamworks Common"_L1);
}

/// The path of the game's picture in Steam's image cache. The cache's layout changed over the
/// years: a file per game, or a folder per game with a file that is named by its hash, or
/// header.jpg.
QString findIcon(const QString &cache, const QString &appid)
{
    static const QRegularExpression hashedName(u"^[0-9a-f]{40}\\.(jpg|png)\\z"_s);

    const QString icon = cache + appid + "_icon.jpg"_L1;
    if (QFile::exists(icon))
        return icon;
    const QDir folder(cache + appid);
    for (const QString &file : folder.entryList(QDir::Files, QDir::NoSort)) {
        if (hashedName.match(file).hasMatch())
            return folder.filePath(file);
    }
    const QString header = folder.filePath(u"header.jpg"_s);
    return QFile::exists(header) ? header : QString();
}

} // namespace

QList<GameEntry> scanGames()
{
    static const QRegularExpression manifestName(u"^appmanifest_(\\d+)\\.acf\\z"_s);
    static const QRegularExpression nameEntry(u"\"name\"\\s*\"([^\"]*)\""_s);

    const QString root = steamRoot();
    if (root.isEmpty())
        return {};
    const QByteArray localConfig = base::readFile(localConfigPath()).value_or(QByteArray());
    const AppsSection apps(localConfig);
    const QString imageCache = root + "/appcache/librarycache/"_L1;
    QList<GameEntry> games;
    for (const QString &library : steamLibraryDirs()) {
        for (const QString &file : QDir(library).entryList(QDir::Files, QDir::NoSort)) {
            const QString appid = manifestName.match(file).captured(1);
            if (appid.isEmpty() || appid == losslessScalingAppid)
                continue;
            const QRegularExpressionMatch name =
                nameEntry.match(base::readText(library + u'/' + file));
            if (!name.hasMatch() || isSteamTool(name.captured(1)))
                continue;
            games.append(
                {appid, name.captured(1), findIcon(imageCache, appid), apps.launchOptions(appid)});
        }
    }
    std::sort(games.begin(), games.end(), [](const GameEntry &a, const GameEntry &b) {
        return QString::localeAwareCompare(a.name, b.name) < 0;
    });
    return games;
}

QString findLosslessScalingDll()
{
    static const QRegularExpression installDir(u"\"installdir\"\\s*\"([^\"]*)\""_s);

    for (const QString &library : steamLibraryDirs()) {
        const QRegularExpressionMatch folder = installDir.match(
            base::readText(library + "/appmanifest_"_L1 + losslessScalingAppid + ".acf"_L1));
        if (!folder.hasMatch())
            continue;
        const QString dll = library + "/common/"_L1 + folder.captured(1) + "/Lossless.dll"_L1;
        if (QFile::exists(dll))
            return dll;
    }
    return {};
}

} // namespace steam
