// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <sys/stat.h>

namespace support
{

/// A file, localconfig.vdf by default, in a temporary folder of its own.
class ScratchFile
{
public:
    explicit ScratchFile(const QByteArray &content,
                         const QString &name = QStringLiteral("localconfig.vdf"))
        : fileName(name)
    {
        write(content);
    }

    QString folder() const { return directory.path(); }
    QString path() const { return beside(fileName); }
    QString beside(const QString &name) const { return folder() + u'/' + name; }

    void write(const QByteArray &content) const { writeTo(path(), content); }
    QByteArray read() const { return readFrom(path()); }

    static void writeTo(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qFatal("cannot write %s", qPrintable(path));
    }
    static QByteArray readFrom(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(unreadable)");
    }

    /// Everything in the folder, by name, so that tests see what an edit leaves there.
    QStringList listing() const
    {
        return QDir(folder()).entryList(
            QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDir::Name);
    }

    /// The permission bits of a file, with links followed; -1 if it does not exist.
    static int mode(const QString &path)
    {
        struct stat status = {};
        if (::stat(QFile::encodeName(path).constData(), &status) != 0)
            return -1;
        return static_cast<int>(status.st_mode & 07777U);
    }
    static void setMode(const QString &path, unsigned mode)
    {
        if (::chmod(QFile::encodeName(path).constData(), mode) != 0)
            qFatal("cannot change the mode of %s", qPrintable(path));
    }

private:
    QTemporaryDir directory;
    QString fileName;
};

} // namespace support
