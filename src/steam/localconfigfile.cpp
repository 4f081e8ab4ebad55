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

/// Assigns the message unless `error` is null. Returns false, so that a caller can return it.
bool fail(const QString &message, QString *error)
{
    if (error)
        *error = message;
    return false;
}

} // namespace

std::optional<base::WholeFile> readLocalConfig(const QString &path, QString *error)
{
    std::optional<base::WholeFile> file = base::readWholeFile(path);
    if (!file)
        fail("cannot open "_L1 + path, error);
    return file;
}

bool replaceLocalConfig(const QString &path, const QByteArray &bytes, const base::FileVersion &read,
                        QString *error)
{
    // The lock keeps other windows of the program from writing between the check of the version and
    // the renaming. If the folder cannot be locked at all, the check must do.
    const base::FolderLock lock(QFileInfo(path).path());
    const base::Replaced replaced =
        lock.isBusy() ? base::Replaced::CannotReplace : base::replaceFile(path, bytes, read);
    if (replaced == base::Replaced::Yes)
        return true;
    const auto message =
        replaced == base::Replaced::CannotOpen ? "cannot write "_L1 : "commit failed for "_L1;
    return fail(message + path, error);
}

bool setLaunchOptions(const QString &path, const QString &appid, const QString &options,
                      bool makeBackup, QString *error)
{
    if (const QString refusal = storageRefusal(options); !refusal.isEmpty())
        return fail(refusal, error); // before the file is opened, which may be missing
    const std::optional<base::WholeFile> file = readLocalConfig(path, error);
    if (!file)
        return false;
    const EditedText edited = editLaunchOptions(file->bytes, {{appid, options}});
    if (!edited.refusals.isEmpty())
        return fail(edited.refusals.first(), error);
    if (makeBackup && writeBackup(path).isEmpty())
        return fail(noBackupMessage(path), error);
    return replaceLocalConfig(path, edited.bytes, file->version, error);
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
