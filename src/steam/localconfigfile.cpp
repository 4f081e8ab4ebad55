// SPDX-License-Identifier: MIT
#include "steam/localconfigfile.h"

#include "base/folderlock.h"
#include "steam/launchoptionseditor.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace steam
{
namespace
{

/// As setLaunchOptions(); returns the reason why it failed, empty on success.
QString setOptions(const QString &path, const QString &appid, const QString &options,
                   bool makeBackup)
{
    if (const QString refusal = storageRefusal(options); !refusal.isEmpty())
        return refusal; // before the file is opened, which may be missing
    const std::optional<base::WholeFile> file = base::readWholeFile(path);
    if (!file)
        return cannotOpen + path;
    const EditedText edited = editLaunchOptions(AppsSection(file->bytes), {{appid, options}});
    if (!edited.refusals.isEmpty())
        return edited.refusals.first();
    if (makeBackup && writeBackup(path).isEmpty())
        return cannotBackUp + path;
    return replaceLocalConfig(path, edited.bytes, file->version);
}

} // namespace

bool setLaunchOptions(const QString &path, const QString &appid, const QString &options,
                      bool makeBackup, QString *error)
{
    const QString reason = setOptions(path, appid, options, makeBackup);
    if (error && !reason.isEmpty())
        *error = reason;
    return reason.isEmpty();
}

QString replaceLocalConfig(const QString &path, const QByteArray &bytes,
                           const base::FileVersion &read)
{
    // The lock keeps other windows of the program from writing between the check of the version and
    // the renaming. If the folder cannot be locked at all, the check must do.
    const base::FolderLock lock(QFileInfo(path).path());
    const base::Replaced replaced =
        lock.isBusy() ? base::Replaced::CannotReplace : base::replaceFile(path, bytes, read);
    if (replaced == base::Replaced::Yes)
        return {};
    return (replaced == base::Replaced::CannotOpen ? "cannot write "_L1 : "commit failed for "_L1) +
           path;
}

QString writeBackup(const QString &path)
{
    const QString base =
        path + ".bak-marrow-"_L1 + QString::number(QDateTime::currentSecsSinceEpoch());
    QString candidate = base;
    for (int i = 1; QFile::exists(candidate); ++i)
        candidate = base + u'-' + QString::number(i);
    return base::copyFile(path, candidate) ? candidate : QString();
}

} // namespace steam
