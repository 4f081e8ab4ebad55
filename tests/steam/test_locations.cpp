// SPDX-License-Identifier: MIT
#include "steam/locations.h"

#include "support/pretendmachine.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using support::PretendMachine;

namespace
{

const QDateTime noon(QDate(2026, 3, 1), QTime(12, 0));

/// A localconfig.vdf of an account, last written `seconds` after noon; returns its path.
QString addConfig(const PretendMachine &machine, const QString &account, int seconds = 0)
{
    const QString path =
        machine.steamRoot() + "/userdata/"_L1 + account + "/config/localconfig.vdf"_L1;
    machine.write(path, "x");
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) ||
        !file.setFileTime(noon.addSecs(seconds), QFileDevice::FileModificationTime))
        qFatal("cannot set the time of %s", qPrintable(path));
    return path;
}

void writeLibraryList(const PretendMachine &machine, const QByteArray &text)
{
    machine.write(machine.steamRoot() + "/steamapps/libraryfolders.vdf"_L1, text);
}

} // namespace

class TestLocations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rootOfAMachineWithoutSteam()
    {
        const PretendMachine machine;
        QCOMPARE(steam::steamRoot(), u""_s);
    }

    void rootBehindTheLink()
    {
        PretendMachine machine;
        machine.installSteam(); // ~/.steam/steam leads to ~/.local/share/Steam
        QCOMPARE(steam::steamRoot(), machine.home() + "/.local/share/Steam"_L1);
    }

    void rootInDotSteamComesFirst()
    {
        const PretendMachine machine;
        machine.write(u"home/.steam/steam/steamapps/x"_s, "");
        machine.write(u"home/.local/share/Steam/steamapps/x"_s, "");
        QCOMPARE(steam::steamRoot(), machine.home() + "/.steam/steam"_L1);
    }

    void rootWithoutSteamappsIsPassedOver()
    {
        const PretendMachine machine;
        machine.write(u"home/.steam/steam/other"_s, "");
        QCOMPARE(steam::steamRoot(), u""_s);
        machine.write(u"home/.local/share/Steam/steamapps/x"_s, "");
        QCOMPARE(steam::steamRoot(), machine.home() + "/.local/share/Steam"_L1);
    }

    void rootBehindADanglingLinkIsPassedOver()
    {
        const PretendMachine machine;
        machine.write(u"home/.steam/other"_s, "");
        QVERIFY(QFile::link(u"/nowhere/at/all"_s, machine.home() + "/.steam/steam"_L1));
        machine.write(u"home/.local/share/Steam/steamapps/x"_s, "");
        QCOMPARE(steam::steamRoot(), machine.home() + "/.local/share/Steam"_L1);
    }

    void rootIsCanonical()
    {
        const PretendMachine machine;
        machine.write(u"disk/games/Steam/steamapps/x"_s, "");
        machine.write(u"home/.steam/other"_s, "");
        QVERIFY(QFile::link(machine.root() + "/disk/./games/../games/Steam/"_L1,
                            machine.root() + "/disk/inner"_L1));
        QVERIFY(
            QFile::link(machine.root() + "/disk/inner"_L1, machine.home() + "/.steam/steam"_L1));
        QCOMPARE(steam::steamRoot(), machine.root() + "/disk/games/Steam"_L1);
    }

    void rootIsLookedUpAfresh()
    {
        PretendMachine machine;
        QCOMPARE(steam::steamRoot(), u""_s);
        machine.installSteam();
        QCOMPARE(steam::steamRoot(), machine.steamRoot());
        QVERIFY(QDir(machine.steamRoot()).removeRecursively());
        QCOMPARE(steam::steamRoot(), u""_s);
    }

    void steamappsMayBeAnything()
    {
        const PretendMachine machine;
        machine.write(u"home/.steam/steam/steamapps"_s, "a file");
        QCOMPARE(steam::steamRoot(), machine.home() + "/.steam/steam"_L1);
    }

    void librariesWithoutSteam()
    {
        const PretendMachine machine;
        QCOMPARE(steam::steamLibraryDirs(), QStringList());
    }

    void librariesWithoutTheirList()
    {
        PretendMachine machine;
        machine.installSteam();
        QVERIFY(QFile::remove(machine.steamRoot() + "/steamapps/libraryfolders.vdf"_L1));
        QCOMPARE(steam::steamLibraryDirs(), QStringList{machine.steamRoot() + "/steamapps"_L1});
    }

    void librariesWhenTheirListCannotBeRead()
    {
        PretendMachine machine;
        machine.installSteam();
        const QString list = machine.steamRoot() + "/steamapps/libraryfolders.vdf"_L1;
        QVERIFY(QFile::remove(list));
        QVERIFY(QDir().mkdir(list));
        QCOMPARE(steam::steamLibraryDirs(), QStringList{machine.steamRoot() + "/steamapps"_L1});
    }

    void librariesInTheOrderOfTheList()
    {
        PretendMachine machine;
        machine.installSteam(); // its own list names the root itself too, which is not listed twice
        const QString second = machine.addLibrary(u"z-disk"_s);
        const QString third = machine.addLibrary(u"a-disk"_s);
        QCOMPARE(second, machine.root() + "/z-disk/steamapps"_L1);
        QCOMPARE(steam::steamLibraryDirs(),
                 (QStringList{machine.home() + "/.local/share/Steam/steamapps"_L1, second, third}));
    }

    void libraryEntries_data()
    {
        // "@" stands for the machine's folder, in which the library "disk" exists and "empty" has
        // no steamapps folder.
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<QString>("library"); // beside the root's; none when empty
        const auto row = [](const char *name, const QByteArray &list, const QString &library) {
            QTest::newRow(name) << list << library;
        };
        const QString disk = u"@/disk/steamapps"_s;
        row("plain", "\"1\"\n{\n\t\"path\"\t\t\"@/disk\"\n}\n", disk);
        row("no space", "\"path\"\"@/disk\"", disk);
        row("blanks of all kinds", "\"path\" \t\n\v\f\r\"@/disk\"", disk);
        row("twice", "\"path\" \"@/disk\" \"path\" \"@/disk\"", disk);
        row("at any depth", "\"a\" { \"b\" { \"c\" { \"path\" \"@/disk\" } } }", disk);
        row("without steamapps", "\"path\" \"@/empty\"", {});
        row("that does not exist", "\"path\" \"@/missing\"", {});
        row("Path", "\"Path\" \"@/disk\"", {});
        row("longer key", "\"mypath\" \"@/disk\" \"path2\" \"@/disk\"", {});
        row("key without quotes", "path \"@/disk\"", {});
        row("no-break space", "\"path\"\xc2\xa0\"@/disk\"", {});
        row("backslashes stay", "\"path\" \"@\\\\disk\"", {});
        row("a folder named with backslashes", "\"path\" \"@/back\\\\slash\"",
            u"@/back\\\\slash/steamapps"_s);
        row("blanks are not trimmed", "\"path\" \"@/disk \"", {});
        row("not made canonical", "\"path\" \"@/empty/../disk\"", u"@/empty/../disk/steamapps"_s);
        row("slash at the end stays", "\"path\" \"@/disk/\"", u"@/disk//steamapps"_s);
        row("name in UTF-8", "\"path\" \"@/Spiele Ü\"", u"@/Spiele Ü/steamapps"_s);
        row("CR LF", "\"1\"\r\n{\r\n\t\"path\"\t\t\"@/disk\"\r\n}\r\n", disk);
        row("behind an invalid byte", "\xff \"path\" \"@/disk\"", disk);
        row("cut text", "\"path\" \"@/disk", {});
        row("empty list", "", {});
    }
    void libraryEntries()
    {
        QFETCH(QByteArray, list);
        QFETCH(QString, library);
        PretendMachine machine;
        machine.installSteam();
        for (const QString &folder : {u"disk"_s, u"Spiele Ü"_s, u"back\\\\slash"_s})
            machine.write(folder + "/steamapps/x"_L1, "");
        machine.write(u"empty/x"_s, "");
        writeLibraryList(machine, list.replace("@", machine.root().toUtf8()));

        QStringList expected{machine.steamRoot() + "/steamapps"_L1};
        if (!library.isEmpty())
            expected.append(library.replace(u'@', machine.root()));
        QCOMPARE(steam::steamLibraryDirs(), expected);
    }

    void librariesThatDifferInCaseAreTwo()
    {
        PretendMachine machine;
        machine.installSteam();
        QStringList libraries{machine.steamRoot() + "/steamapps"_L1};
        QByteArray list;
        for (const QString &name : {u"/disk"_s, u"/Disk"_s}) {
            machine.write(machine.root() + name + "/steamapps/x"_L1, "");
            libraries.append(machine.root() + name + "/steamapps"_L1);
            list += "\"path\" \"" + (machine.root() + name).toUtf8() + "\"\n";
        }
        writeLibraryList(machine, list);
        QCOMPARE(steam::steamLibraryDirs(), libraries);
    }

    void aLibrarysSteamappsMayBeAFile()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.write(u"disk/steamapps"_s, "");
        writeLibraryList(machine, "\"path\" \"" + machine.root().toUtf8() + "/disk\"");
        QCOMPARE(steam::steamLibraryDirs(), (QStringList{machine.steamRoot() + "/steamapps"_L1,
                                                         machine.root() + "/disk/steamapps"_L1}));
    }

    void rootUnderAnotherNameIsListedTwice()
    {
        PretendMachine machine;
        machine.installSteam();
        writeLibraryList(machine, "\"path\" \"" + machine.home().toUtf8() + "/.steam/steam\"");
        QCOMPARE(steam::steamLibraryDirs(),
                 (QStringList{machine.steamRoot() + "/steamapps"_L1,
                              machine.home() + "/.steam/steam/steamapps"_L1}));
    }

    void unpluggedLibraryIsDropped()
    {
        PretendMachine machine;
        machine.installSteam();
        const QString usb = machine.addLibrary(u"usb"_s);
        const QString disk = machine.addLibrary(u"disk"_s);
        QVERIFY(QDir(machine.root() + "/usb"_L1).removeRecursively());
        QCOMPARE(steam::steamLibraryDirs(),
                 (QStringList{machine.steamRoot() + "/steamapps"_L1, disk}));
        QVERIFY(QDir().mkpath(usb));
        QCOMPARE(steam::steamLibraryDirs(),
                 (QStringList{machine.steamRoot() + "/steamapps"_L1, usb, disk}));
    }

    void configWithoutSteam()
    {
        const PretendMachine machine;
        QCOMPARE(steam::localConfigPath(), u""_s);
    }

    void configWithoutUserdata()
    {
        PretendMachine machine;
        machine.installSteam();
        QVERIFY(QDir(machine.steamRoot() + "/userdata"_L1).removeRecursively());
        QCOMPARE(steam::localConfigPath(), u""_s);
    }

    void configOfTheOnlyAccount()
    {
        PretendMachine machine;
        machine.installSteam();
        QCOMPARE(steam::localConfigPath(), u""_s); // the account has no file yet
        machine.writeLocalConfig("x");
        QCOMPARE(steam::localConfigPath(),
                 machine.steamRoot() + "/userdata/70001/config/localconfig.vdf"_L1);
    }

    void configWrittenLast_data()
    {
        QTest::addColumn<QList<int>>("seconds"); // of the accounts 100, 200 and 300
        QTest::addColumn<QString>("account");
        QTest::newRow("first") << QList<int>{9, 1, 5} << u"100"_s;
        QTest::newRow("second") << QList<int>{1, 9, 5} << u"200"_s;
        QTest::newRow("third") << QList<int>{1, 5, 9} << u"300"_s;
        QTest::newRow("later than the first") << QList<int>{5, 1, 6} << u"300"_s;
        QTest::newRow("last of falling times") << QList<int>{9, 5, 1} << u"100"_s;
    }
    void configWrittenLast()
    {
        QFETCH(QList<int>, seconds);
        QFETCH(QString, account);
        PretendMachine machine;
        machine.installSteam();
        addConfig(machine, u"100"_s, seconds[0]);
        addConfig(machine, u"200"_s, seconds[1]);
        addConfig(machine, u"300"_s, seconds[2]);
        QCOMPARE(steam::localConfigPath(),
                 machine.steamRoot() + "/userdata/"_L1 + account + "/config/localconfig.vdf"_L1);
    }

    void configOfEqualTimes_data()
    {
        // A listing without an order of its own comes by name, in whatever order folders were made.
        QTest::addColumn<QStringList>("madeInOrder");
        QTest::newRow("made by name") << QStringList{u"100"_s, u"200"_s, u"300"_s};
        QTest::newRow("made against the name") << QStringList{u"300"_s, u"200"_s, u"100"_s};
        QTest::newRow("made in any order") << QStringList{u"200"_s, u"300"_s, u"100"_s};
    }
    void configOfEqualTimes()
    {
        QFETCH(QStringList, madeInOrder);
        PretendMachine machine;
        machine.installSteam();
        for (const QString &account : madeInOrder)
            addConfig(machine, account);
        QCOMPARE(steam::localConfigPath(),
                 machine.steamRoot() + "/userdata/100/config/localconfig.vdf"_L1);
    }

    void accountsWithoutConfigAreIgnored()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.write(machine.steamRoot() + "/userdata/0/config/other.vdf"_L1, "");
        machine.write(machine.steamRoot() + "/userdata/1/localconfig.vdf"_L1, "");
        machine.write(machine.steamRoot() + "/userdata/localconfig.vdf"_L1, "");
        QCOMPARE(steam::localConfigPath(), u""_s);
        const QString config = addConfig(machine, u"500"_s);
        QCOMPARE(steam::localConfigPath(), config);
    }

    void aHiddenAccountIsIgnored()
    {
        PretendMachine machine;
        machine.installSteam();
        addConfig(machine, u".1000"_s, 60);
        QCOMPARE(steam::localConfigPath(), u""_s);
        const QString config = addConfig(machine, u"500"_s);
        QCOMPARE(steam::localConfigPath(), config);
    }

    void accountNameMayBeAnything()
    {
        PretendMachine machine;
        machine.installSteam();
        const QString config = addConfig(machine, u"anonymous"_s);
        QCOMPARE(steam::localConfigPath(), config);

        // A folder elsewhere with a link to it counts too.
        machine.write(u"elsewhere/config/localconfig.vdf"_s, "x");
        QVERIFY(QFile::link(machine.root() + "/elsewhere"_L1,
                            machine.steamRoot() + "/userdata/900"_L1));
        QCOMPARE(steam::localConfigPath(),
                 machine.steamRoot() + "/userdata/900/config/localconfig.vdf"_L1);
    }
};

QTEST_GUILESS_MAIN(TestLocations)
#include "test_locations.moc"
