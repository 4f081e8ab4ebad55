// SPDX-License-Identifier: MIT
#include "steam/locations.h"

#include "base/files.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace steam
{

QString steamRoot()
{
    const QString home = QDir::homePath();
    for (const QString &candidate : {home + "/.steam/steam"_L1, home + "/.local/share/Steam"_L1}) {
        const QString canonical = QFileInfo(candidate).canonicalFilePath();
        if (!canonical.isEmpty() && QFile::exists(canonical + "/steamapps"_L1))
            return canonical;
    }
    return {};
}

QStringList steamLibraryDirs()
{
    static const QRegularExpression pathEntry(u"\"path\"\\s*\"([^\"]*)\""_s);

    const QString root = steamRoot();
    if (root.isEmpty())
        return {};
    QStringList libraries{root + "/steamapps"_L1};
    const QString text = base::readText(libraries.first() + "/libraryfolders.vdf"_L1);
    for (auto matches = pathEntry.globalMatch(text); matches.hasNext();) {
        const QString candidate = matches.next().captured(1) + "/steamapps"_L1;
        if (QFile::exists(candidate) && !libraries.contains(candidate))
            libraries.append(candidate);
    }
    return libraries;
}

QString localConfigPath()
{
    const QString root = steamRoot();
    if (root.isEmpty())
        return {};
    const QDir userdata(root + "/userdata"_L1);
    QFileInfo best;
    for (const QString &user :
         userdata.entryList(QDir::Dirs | QDir::NoDotAndDotDot, QDir::NoSort)) {
        const QFileInfo file(userdata.filePath(user + "/config/localconfig.vdf"_L1));
        if (file.exists() && (!best.exists() || best.lastModified() < file.lastModified()))
            best = file;
    }
    return best.filePath();
}

} // namespace steam
