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

/// A localconfig.vdf of an account, last written `ms` milliseconds after a fixed time. Returns its
/// path.
QString addConfig(const PretendMachine &machine, const QString &account, int ms = 0)
{
    const QString path =
        machine.steamRoot() + "/userdata/"_L1 + account + "/config/localconfig.vdf"_L1;
    machine.write(path, "x");
    QFile file(path);
    if (!file.open(QIODevice::ReadWrite) ||
        !file.setFileTime(QDateTime::fromMSecsSinceEpoch(1'700'000'000'000 + ms),
                          QFileDevice::FileModificationTime))
        qFatal("cannot set the time of %s", qPrintable(path));
    return path;
}

QString libraryList(const PretendMachine &machine)
{
    return machine.steamRoot() + "/steamapps/libraryfolders.vdf"_L1;
}

} // namespace

class TestLocations : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rootOfSteam_data()
    {
        QTest::addColumn<QStringList>("files");
        QTest::addColumn<QString>("link"); // what ~/.steam/steam leads to
        QTest::addColumn<QString>("root");
        const QString first = u"home/.steam/steam"_s;
        const QString second = u"home/.local/share/Steam"_s;
        const QString steamapps = u"/steamapps/x"_s;
        QTest::newRow("none without Steam") << QStringList{} << u""_s << u""_s;
        QTest::newRow("the first of two")
            << QStringList{first + steamapps, second + steamapps} << u""_s << first;
        QTest::newRow("the second if the first has no steamapps")
            << QStringList{first + "/other"_L1, second + steamapps} << u""_s << second;
        QTest::newRow("none if the only one has no steamapps")
            << QStringList{first + "/other"_L1} << u""_s << u""_s;
        QTest::newRow("the second if the first is a link to nothing")
            << QStringList{second + steamapps} << u"nowhere"_s << second;
        QTest::newRow("the folder that a link leads to, without dots")
            << QStringList{"disk/games/Steam"_L1 + steamapps} << u"disk/./games/../games/Steam/"_s
            << u"disk/games/Steam"_s;
        QTest::newRow("steamapps may be a file")
            << QStringList{first + "/steamapps"_L1} << u""_s << first;
    }
    void rootOfSteam()
    {
        QFETCH(const QStringList, files);
        QFETCH(const QString, link);
        QFETCH(const QString, root);
        const PretendMachine machine;
        machine.write(u"home/.steam/other"_s, "");
        for (const QString &file : files)
            machine.write(file, "");
        if (!link.isEmpty())
            QVERIFY(QFile::link(machine.root() + u'/' + link, machine.home() + "/.steam/steam"_L1));
        QCOMPARE(steam::steamRoot(), root.isEmpty() ? QString() : machine.root() + u'/' + root);
    }

    void theRootIsLookedUpEveryTime()
    {
        PretendMachine machine;
        QCOMPARE(steam::steamRoot(), u""_s);
        machine.installSteam();
        QCOMPARE(steam::steamRoot(), machine.steamRoot());
        QVERIFY(QDir(machine.steamRoot()).removeRecursively());
        QCOMPARE(steam::steamRoot(), u""_s);
    }

    void nothingIsFoundWithoutSteam()
    {
        const PretendMachine machine;
        QCOMPARE(steam::steamLibraryDirs(), QStringList());
        QCOMPARE(steam::localConfigPath(), u""_s);
    }

    void onlyTheRootsLibraryWithoutAList()
    {
        PretendMachine machine;
        machine.installSteam();
        QVERIFY(QFile::remove(libraryList(machine)));
        QCOMPARE(steam::steamLibraryDirs(), QStringList{machine.steamRoot() + "/steamapps"_L1});
        QVERIFY(QDir().mkdir(libraryList(machine))); // a folder cannot be read either
        QCOMPARE(steam::steamLibraryDirs(), QStringList{machine.steamRoot() + "/steamapps"_L1});
    }

    void librariesInTheListsOrder()
    {
        PretendMachine machine;
        machine.installSteam(); // the list names the root, too, which is not listed twice
        const QString root = machine.steamRoot() + "/steamapps"_L1;
        const QString usb = machine.addLibrary(u"usb"_s);
        const QString disk = machine.addLibrary(u"disk"_s);
        QCOMPARE(steam::steamLibraryDirs(), (QStringList{root, usb, disk}));
        QVERIFY(QDir(machine.root() + "/usb"_L1).removeRecursively()); // unplugged
        QCOMPARE(steam::steamLibraryDirs(), (QStringList{root, disk}));
        QVERIFY(QDir().mkpath(usb));
        QCOMPARE(steam::steamLibraryDirs(), (QStringList{root, usb, disk}));
    }

    void libraryEntries_data()
    {
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<QStringList>("libraries"); // beside the root's
        const auto row = [](const char *name, const QByteArray &list,
                            const QStringList &libraries) {
            QTest::newRow(name) << list << libraries;
        };
        const QString disk = u"@/disk/steamapps"_s;
        row("no space before the value", "\"path\"\"@/disk\"", {disk});
        row("all six kinds of white space before it", "\"path\" \t\n\v\f\r\"@/disk\"", {disk});
        row("a no-break space is no white space", "\"path\"\xc2\xa0\"@/disk\"", {});
        row("line ends of another system", "\"1\"\r\n{\r\n\t\"path\"\t\t\"@/disk\"\r\n}\r\n",
            {disk});
        row("the same library twice", "\"path\" \"@/disk\" \"path\" \"@/disk\"", {disk});
        row("two that differ in letter case", "\"path\" \"@/disk\" \"path\" \"@/Disk\"",
            {disk, u"@/Disk/steamapps"_s});
        row("at any depth", "\"a\" { \"b\" { \"c\" { \"path\" \"@/disk\" } } }", {disk});
        row("not without steamapps", "\"path\" \"@/empty\"", {});
        row("steamapps may be a file", "\"path\" \"@/file\"", {u"@/file/steamapps"_s});
        row("not by another key", "\"Path\" \"@/disk\" \"mypath\" \"@/disk\" path \"@/disk\"", {});
        row("backslashes stay", "\"path\" \"@/back\\\\slash\"", {u"@/back\\\\slash/steamapps"_s});
        row("blanks stay", "\"path\" \"@/disk \"", {});
        row("dots and slashes stay", "\"path\" \"@/empty/../disk/\"",
            {u"@/empty/../disk//steamapps"_s});
        row("the root by another path is listed again", "\"path\" \"@/home/.steam/steam\"",
            {u"@/home/.steam/steam/steamapps"_s});
        row("a name in UTF-8", "\"path\" \"@/Spiele Ü\"", {u"@/Spiele Ü/steamapps"_s});
        row("after a byte that is no UTF-8", "\xff \"path\" \"@/disk\"", {disk});
        row("not one that is cut", "\"path\" \"@/disk", {});
    }
    void libraryEntries()
    {
        QFETCH(QByteArray, list);
        QFETCH(QStringList, libraries);
        PretendMachine machine; // "@" stands for its folder
        machine.installSteam();
        for (const QString &folder : {u"disk"_s, u"Disk"_s, u"Spiele Ü"_s, u"back\\\\slash"_s})
            machine.write(folder + "/steamapps/x"_L1, "");
        machine.write(u"empty/x"_s, "");
        machine.write(u"file/steamapps"_s, "");
        machine.write(libraryList(machine), list.replace("@", machine.root().toUtf8()));
        QCOMPARE(steam::steamLibraryDirs(), QStringList{machine.steamRoot() + "/steamapps"_L1} +
                                                libraries.replaceInStrings(u"@"_s, machine.root()));
    }

    void theAccountThatWasWrittenLast_data()
    {
        QTest::addColumn<QList<int>>("ms"); // of the accounts 300, 200 and 100
        QTest::addColumn<QString>("account");
        QTest::newRow("the first of the list") << QList<int>{1, 5, 9} << u"100"_s;
        QTest::newRow("the second") << QList<int>{5, 9, 1} << u"200"_s;
        QTest::newRow("the third") << QList<int>{6, 1, 5} << u"300"_s;
        QTest::newRow("of equal times the first of the list") << QList<int>{5, 5, 5} << u"100"_s;
        QTest::newRow("of equal latest times the first") << QList<int>{5, 5, 1} << u"200"_s;
    }
    void theAccountThatWasWrittenLast()
    {
        QFETCH(QList<int>, ms);
        QFETCH(QString, account);
        PretendMachine machine;
        machine.installSteam();
        addConfig(machine, u"300"_s, ms[0]);
        addConfig(machine, u"200"_s, ms[1]);
        addConfig(machine, u"100"_s, ms[2]);
        QCOMPARE(steam::localConfigPath(),
                 machine.steamRoot() + "/userdata/"_L1 + account + "/config/localconfig.vdf"_L1);
    }

    void accountsThatCount()
    {
        PretendMachine machine;
        machine.installSteam();
        const QString userdata = machine.steamRoot() + "/userdata"_L1;
        for (const QString &other :
             {u"/0/config/other.vdf"_s, u"/1/localconfig.vdf"_s, u"/localconfig.vdf"_s})
            machine.write(userdata + other, "");
        addConfig(machine, u".1000"_s); // a hidden folder is no account
        QCOMPARE(steam::localConfigPath(), u""_s);

        const QString anonymous = addConfig(machine, u"anonymous"_s);
        QCOMPARE(steam::localConfigPath(), anonymous);

        machine.write(u"elsewhere/config/localconfig.vdf"_s, "x"); // written later
        QVERIFY(QFile::link(machine.root() + "/elsewhere"_L1, userdata + "/900"_L1));
        QCOMPARE(steam::localConfigPath(), userdata + "/900/config/localconfig.vdf"_L1);

        QVERIFY(QDir(userdata).removeRecursively());
        QCOMPARE(steam::localConfigPath(), u""_s);
    }
};

QTEST_GUILESS_MAIN(TestLocations)
#include "test_locations.moc"
