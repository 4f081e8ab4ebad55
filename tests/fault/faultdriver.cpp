// SPDX-License-Identifier: MIT
// Calls one of the program's writing functions once and tells what it claims: done (it ends with 0)
// or not (it ends with 1), and on its output the message that came with the claim. What really is
// on the disk is for the caller to see.
//
//   fault-driver edit FILE APPID OPTIONS      setLaunchOptions() with a backup
//   fault-driver edit-only FILE APPID OPTIONS ... without
//   fault-driver plain FILE APPID OPTIONS     the same edit with a plain QSaveFile: the control
//   fault-driver remember FILE TEXT APPID...  keeps TEXT for each game in the store FILE
#include "launch/settingsstore.h"
#include "steam/localconfigfile.h"

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <QSettings>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

int claim(bool done, const QString &text = {})
{
    std::printf("%s\n", qPrintable(text));
    return done ? 0 : 1;
}

int edit(const QStringList &arguments, bool makeBackup)
{
    QString error;
    const bool done =
        steam::setLaunchOptions(arguments[2], arguments[3], arguments[4], makeBackup, &error);
    return claim(done, error);
}

/// What an ordinary program does: read, change, write and commit, and believe the answer.
int plainSave(const QStringList &arguments)
{
    QFile file(arguments[2]);
    if (!file.open(QIODevice::ReadOnly))
        return claim(false, u"cannot open"_s);
    QByteArray text = file.readAll();
    file.close();
    const QByteArray key = '"' + arguments[3].toUtf8() + '"';
    const QByteArray name = "\"LaunchOptions\"\t\t\"";
    const qsizetype found = text.indexOf(name, text.indexOf(key));
    if (found < 0)
        return claim(false, u"cannot find"_s);
    const qsizetype value = found + name.size();
    text.replace(value, text.indexOf('"', value) - value, arguments[4].toUtf8());
    QSaveFile save(arguments[2]);
    if (!save.open(QIODevice::WriteOnly))
        return claim(false, u"cannot write"_s);
    save.write(text);
    return claim(save.commit());
}

int remember(const QStringList &arguments)
{
    QSettings store(arguments[2], QSettings::NativeFormat);
    launch::StoreEdit edit(store);
    QMap<QString, QString> originals;
    for (const QString &appid : arguments.sliced(4)) {
        if (edit.canKeep(appid, arguments[3]))
            originals.insert(appid, arguments[3]);
    }
    return claim(edit.save({}, originals));
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString task = arguments.value(1);
    if (task == "edit"_L1)
        return edit(arguments, true);
    if (task == "edit-only"_L1)
        return edit(arguments, false);
    if (task == "plain"_L1)
        return plainSave(arguments);
    if (task == "remember"_L1)
        return remember(arguments);
    return 2;
}
