// SPDX-License-Identifier: MIT
// Calls one of the program's writing functions once and tells what it claims: done (it ends with 0)
// or not (it ends with 1), and on its output the message or the path that came with the claim. What
// really is on the disk is for the caller to see.
//
//   fault-driver edit FILE APPID OPTIONS      setLaunchOptions() with a backup
//   fault-driver edit-only FILE APPID OPTIONS ... without
//   fault-driver backup FILE                  writeBackup()
//   fault-driver plain FILE APPID OPTIONS     the same edit with a plain QSaveFile: the control
//   fault-driver remember FILE TEXT APPID...  keeps TEXT for each game in the store FILE
//   fault-driver set-twice FILE KEY A B       sets the store's KEY to A, then at once to B, and
//                                             tells what the store then reads
//   fault-driver start-steam FILE             startSteam() while FILE is open
//   fault-driver shutdown SECONDS             shutdownSteam()
//   fault-driver wait                         waits until it is killed
#include "launch/settingsstore.h"
#include "steam/launchoptionseditor.h"
#include "steam/steamprocess.h"

#include <QCoreApplication>
#include <QFile>
#include <QSaveFile>
#include <QSettings>

#include <cstdio>
#include <unistd.h>

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
    return claim(launch::changeStore(store, [&](QSettings &scratch) {
        for (const QString &appid : arguments.sliced(4))
            launch::rememberOriginalLaunchOptions(scratch, appid, arguments[3]);
        launch::saveAllGameSettings(scratch, {}); // as an Apply does, which syncs
    }));
}

int setTwice(const QStringList &arguments)
{
    QSettings store(arguments[2], QSettings::NativeFormat);
    const auto set = [&](const QString &value) {
        return launch::changeStore(
            store, [&](QSettings &scratch) { scratch.setValue(arguments[3], value); });
    };
    const bool first = set(arguments[4]);
    const bool second = set(arguments[5]);
    return claim(first && second, store.value(arguments[3]).toString());
}

int startSteam(const QStringList &arguments)
{
    QFile open(arguments[2]);
    const bool opened = open.open(QIODevice::ReadOnly);
    steam::startSteam();
    return claim(opened);
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
    if (task == "backup"_L1) {
        const QString path = steam::writeBackup(arguments[2]);
        return claim(!path.isEmpty(), path);
    }
    if (task == "plain"_L1)
        return plainSave(arguments);
    if (task == "remember"_L1)
        return remember(arguments);
    if (task == "set-twice"_L1)
        return setTwice(arguments);
    if (task == "start-steam"_L1)
        return startSteam(arguments);
    if (task == "shutdown"_L1)
        return claim(steam::shutdownSteam(arguments[2].toInt(), {}));
    while (task == "wait"_L1)
        ::pause();
    return 2;
}
