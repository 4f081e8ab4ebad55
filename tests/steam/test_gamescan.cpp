// SPDX-License-Identifier: MIT
#include "steam/gamescan.h"

#include "support/pretendmachine.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using steam::GameEntry;
using support::PretendMachine;

namespace
{

const QString hash = u"0123456789abcdef0123456789abcdef01234567"_s;

QStringList names(const QList<GameEntry> &games)
{
    QStringList list;
    for (const GameEntry &game : games)
        list.append(game.name);
    return list;
}

QString steamapps(const PretendMachine &machine)
{
    return machine.steamRoot() + "/steamapps"_L1;
}

} // namespace

class TestGameScan : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noSteam()
    {
        const PretendMachine machine;
        QVERIFY(steam::scanGames().isEmpty());
    }

    void noGames()
    {
        PretendMachine machine;
        machine.installSteam();
        QVERIFY(steam::scanGames().isEmpty());
    }

    void fieldsOfAGame()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"620"_s, u"Portal 2"_s);
        machine.writeLocalConfig(
            "\"apps\" { \"620\" { \"LaunchOptions\" \"mangohud %command%\" } }");
        const QString icon = machine.steamRoot() + "/appcache/librarycache/620_icon.jpg"_L1;
        machine.write(icon, "jpg");
        const QList<GameEntry> games = steam::scanGames();
        QCOMPARE(games.size(), 1);
        QCOMPARE(games[0].appid, u"620"_s);
        QCOMPARE(games[0].name, u"Portal 2"_s);
        QCOMPARE(games[0].iconPath, icon);
        QCOMPARE(games[0].launchOptions, u"mangohud %command%"_s);
    }

    void manifestNames_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("appid"); // not listed when empty
        QTest::newRow("plain") << u"appmanifest_620.acf"_s << u"620"_s;
        QTest::newRow("one digit") << u"appmanifest_7.acf"_s << u"7"_s;
        QTest::newRow("leading zero") << u"appmanifest_0620.acf"_s << u"0620"_s;
        QTest::newRow("many digits")
            << u"appmanifest_12345678901234567890.acf"_s << u"12345678901234567890"_s;
        QTest::newRow("something after .acf") << u"appmanifest_620.acf.bak"_s << u""_s;
        QTest::newRow("line feed after .acf") << u"appmanifest_620.acf\n"_s << u""_s;
        QTest::newRow("something before") << u"old_appmanifest_620.acf"_s << u""_s;
        QTest::newRow("letters in the id") << u"appmanifest_62x.acf"_s << u""_s;
        QTest::newRow("no id") << u"appmanifest_.acf"_s << u""_s;
        QTest::newRow("digits of another script") << u"appmanifest_٦٢.acf"_s << u""_s;
        QTest::newRow("other letter case") << u"AppManifest_620.acf"_s << u""_s;
        QTest::newRow("any character for the point") << u"appmanifest_620_acf"_s << u""_s;
        QTest::newRow("negative") << u"appmanifest_-620.acf"_s << u""_s;
    }
    void manifestNames()
    {
        QFETCH(QString, fileName);
        QFETCH(QString, appid);
        PretendMachine machine;
        machine.installSteam();
        machine.write(steamapps(machine) + u'/' + fileName, "\"name\" \"Game\"");
        const QList<GameEntry> games = steam::scanGames();
        QCOMPARE(games.size(), appid.isEmpty() ? 0 : 1);
        if (!games.isEmpty())
            QCOMPARE(games[0].appid, appid);
    }

    void manifestContents_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("listed");
        const auto row = [](const char *name, const QByteArray &content,
                            const QStringList &listed) {
            QTest::newRow(name) << content << listed;
        };
        row("plain", "\"AppState\"\n{\n\t\"name\"\t\t\"Portal 2\"\n}\n", {u"Portal 2"_s});
        row("no space", "\"name\"\"Portal 2\"", {u"Portal 2"_s});
        row("blanks of all kinds", "\"name\" \t\n\v\f\r\"Portal 2\"", {u"Portal 2"_s});
        row("the first name counts", "\"name\" \"One\" \"name\" \"Two\"", {u"One"_s});
        row("empty name", "\"name\" \"\"", {u""_s});
        row("no name", "\"appid\" \"620\"", {});
        row("other letter case", "\"Name\" \"Portal 2\"", {});
        row("longer key", "\"myname\" \"Portal 2\"", {});
        row("empty file", "", {});
        row("cut in the name", "\"name\" \"Port", {});
        row("no-break space", "\"name\"\xc2\xa0\"Portal 2\"", {});
        row("raw, up to an escaped quote", "\"name\" \"The \\\"Game\\\"\"", {u"The \\"_s});
        row("blanks stay", "\"name\" \" Portal  2 \"", {u" Portal  2 "_s});
        row("line ends stay", "\"name\" \"Portal\r\n2\"", {u"Portal\r\n2"_s});
        row("UTF-8", "\"name\" \"Pokémon™ 🎮\"", {u"Pokémon™ 🎮"_s});
        row("not installed fully", "\"StateFlags\" \"2\" \"name\" \"Portal 2\"", {u"Portal 2"_s});
        row("CR LF", "\"AppState\"\r\n{\r\n\t\"name\"\t\t\"Portal 2\"\r\n}\r\n", {u"Portal 2"_s});
    }
    void manifestContents()
    {
        QFETCH(QByteArray, content);
        PretendMachine machine;
        machine.installSteam();
        machine.write(steamapps(machine) + "/appmanifest_620.acf"_L1, content);
        QTEST(names(steam::scanGames()), "listed");
    }

    void toolsAreNotListed_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("listed");
        QTest::newRow("Proton") << u"Proton"_s << false;
        QTest::newRow("Proton with a version") << u"Proton 9.0"_s << false;
        QTest::newRow("Protonium starts so too") << u"Protonium"_s << false;
        QTest::newRow("Proton later in the name") << u"The Proton Game"_s << true;
        QTest::newRow("Proton after a blank") << u" Proton"_s << true;
        QTest::newRow("proton") << u"proton 9.0"_s << true;
        QTest::newRow("Steam Linux Runtime") << u"Steam Linux Runtime 3.0 (sniper)"_s << false;
        QTest::newRow("Steam Linux Runtime later") << u"My Steam Linux Runtime"_s << true;
        QTest::newRow("steam linux runtime") << u"steam linux runtime"_s << true;
        QTest::newRow("Steamworks Common") << u"Steamworks Common Redistributables"_s << false;
        QTest::newRow("Steamworks Common anywhere") << u"The Steamworks Common"_s << false;
        QTest::newRow("steamworks common") << u"steamworks common"_s << true;
        QTest::newRow("Steamworks alone") << u"Steamworks"_s << true;
    }
    void toolsAreNotListed()
    {
        QFETCH(QString, name);
        QFETCH(bool, listed);
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"620"_s, name);
        QCOMPARE(names(steam::scanGames()), listed ? QStringList{name} : QStringList{});
    }

    void losslessScalingIsNotListed()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.installLosslessScaling();
        machine.addGame(u"9930901"_s, u"Another"_s);
        QCOMPARE(names(steam::scanGames()), QStringList{u"Another"_s});
    }

    void aFolderIsNoManifest()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.write(steamapps(machine) + "/appmanifest_1.acf/appmanifest_2.acf"_L1,
                      "\"name\" \"Game\"");
        QVERIFY(steam::scanGames().isEmpty());
    }

    void aLinkedManifestIsOne()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.write(u"elsewhere.acf"_s, "\"name\" \"Game\"");
        QVERIFY(QFile::link(machine.root() + "/elsewhere.acf"_L1,
                            steamapps(machine) + "/appmanifest_2.acf"_L1));
        QCOMPARE(names(steam::scanGames()), QStringList{u"Game"_s});
    }

    void gamesOfAllLibraries()
    {
        PretendMachine machine;
        machine.installSteam();
        const QString disk = machine.addLibrary(u"disk"_s);
        machine.addGame(u"1"_s, u"B in the root"_s);
        machine.addGame(u"2"_s, u"A on the disk"_s, disk);
        machine.addGame(u"3"_s, u"C on the disk"_s, disk);
        QCOMPARE(names(steam::scanGames()),
                 (QStringList{u"A on the disk"_s, u"B in the root"_s, u"C on the disk"_s}));
    }

    void aGameInTwoLibrariesIsListedTwice()
    {
        PretendMachine machine;
        machine.installSteam();
        const QString disk = machine.addLibrary(u"disk"_s);
        machine.addGame(u"620"_s, u"Portal 2"_s);
        machine.addGame(u"620"_s, u"Portal 2"_s, disk);
        const QList<GameEntry> games = steam::scanGames();
        QCOMPARE(games.size(), 2);
        QCOMPARE(games[0].appid, u"620"_s);
        QCOMPARE(games[1].appid, u"620"_s);
    }

    void aLibraryUnderTwoNamesIsScannedTwice()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"620"_s, u"Portal 2"_s);
        machine.write(steamapps(machine) + "/libraryfolders.vdf"_L1,
                      "\"path\" \"" + machine.home().toUtf8() + "/.steam/steam\"");
        QCOMPARE(names(steam::scanGames()), (QStringList{u"Portal 2"_s, u"Portal 2"_s}));
    }

    void sortedByName()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"1"_s, u"Delta"_s);
        machine.addGame(u"2"_s, u"Bravo"_s);
        machine.addGame(u"30"_s, u"Alpha"_s);
        machine.addGame(u"4"_s, u"Charlie 10"_s);
        machine.addGame(u"5"_s, u"Charlie"_s);
        QCOMPARE(names(steam::scanGames()),
                 (QStringList{u"Alpha"_s, u"Bravo"_s, u"Charlie"_s, u"Charlie 10"_s, u"Delta"_s}));
    }

    void launchOptionsOfEachGame()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"10"_s, u"A"_s);
        machine.addGame(u"100"_s, u"B"_s);
        machine.addGame(u"20"_s, u"C"_s);
        machine.addGame(u"30"_s, u"D"_s);
        machine.addGame(u"40"_s, u"E"_s);
        machine.writeLocalConfig("\"apps\" { \"100\" { \"LaunchOptions\" \"Ü hundred\" } "
                                 "\"10\" { \"LaunchOptions\" \"a\\\\b\" } \"20\" { } "
                                 "\"40\" { \"LaunchOptions\" \"a\r\nb\" } }");
        QStringList options;
        for (const GameEntry &game : steam::scanGames())
            options.append(game.launchOptions);
        QCOMPARE(options, (QStringList{u"a\\\\b"_s, u"Ü hundred"_s, u""_s, u""_s, u"a\r\nb"_s}));
    }

    void launchOptionsWithoutLocalConfig()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"10"_s, u"A"_s);
        QCOMPARE(names(steam::scanGames()), QStringList{u"A"_s});
        QCOMPARE(steam::scanGames().constFirst().launchOptions, u""_s);
        QVERIFY(QDir().mkdir(machine.localConfig())); // a folder cannot be read either
        QCOMPARE(names(steam::scanGames()), QStringList{u"A"_s});
        QCOMPARE(steam::scanGames().constFirst().launchOptions, u""_s);
    }

    void seesAnewEveryTime()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"10"_s, u"A"_s);
        QCOMPARE(names(steam::scanGames()), QStringList{u"A"_s});
        machine.addGame(u"20"_s, u"B"_s, machine.addLibrary(u"disk"_s));
        machine.removeGame(u"10"_s);
        QCOMPARE(names(steam::scanGames()), QStringList{u"B"_s});
    }

    void icon_data()
    {
        QTest::addColumn<QStringList>(
            "files");                      // in the image cache; "@" stands for forty hex digits
        QTest::addColumn<QString>("icon"); // in the image cache, or none
        const auto row = [](const char *name, const QStringList &files, const QString &icon) {
            QTest::newRow(name) << files << icon;
        };
        row("no cache", {}, {});
        row("file named by the id", {u"620_icon.jpg"_s}, u"620_icon.jpg"_s);
        row("file before folder", {u"620/@.jpg"_s, u"620/header.jpg"_s, u"620_icon.jpg"_s},
            u"620_icon.jpg"_s);
        row("hashed jpg", {u"620/@.jpg"_s}, u"620/@.jpg"_s);
        row("hashed png", {u"620/@.png"_s}, u"620/@.png"_s);
        row("of two hashed the first by name",
            {u"620/f123456789abcdef0123456789abcdef01234567.jpg"_s,
             u"620/0f23456789abcdef0123456789abcdef01234567.png"_s},
            u"620/0f23456789abcdef0123456789abcdef01234567.png"_s);
        row("header that is a folder", {u"620/header.jpg/x"_s}, u"620/header.jpg"_s);
        row("hashed before header", {u"620/@.jpg"_s, u"620/header.jpg"_s}, u"620/@.jpg"_s);
        row("header alone", {u"620/header.jpg"_s}, u"620/header.jpg"_s);
        row("header png is none", {u"620/header.png"_s}, {});
        row("other pictures", {u"620/library_600x900.jpg"_s, u"620/logo.png"_s}, {});
        row("folder without files", {u"620/sub/x"_s}, {});
        row("another game's", {u"6200_icon.jpg"_s, u"6200/@.jpg"_s}, {});
        row("file in the place of the folder", {u"620"_s}, {});
        row("upper-case digits", {u"620/0123456789ABCDEF0123456789ABCDEF01234567.jpg"_s}, {});
        row("upper-case digits, header too",
            {u"620/0123456789ABCDEF0123456789ABCDEF01234567.jpg"_s, u"620/header.jpg"_s},
            u"620/header.jpg"_s);
        row("39 digits", {u"620/123456789abcdef0123456789abcdef01234567.jpg"_s}, {});
        row("41 digits", {u"620/00123456789abcdef0123456789abcdef01234567.jpg"_s}, {});
        row("a letter behind f", {u"620/0123456789abcdeg0123456789abcdef01234567.jpg"_s}, {});
        row("jpeg", {u"620/@.jpeg"_s}, {});
        row("JPG", {u"620/@.JPG"_s}, {});
        row("something behind", {u"620/@.jpg.tmp"_s}, {});
        row("line feed behind", {u"620/@.jpg\n"_s}, {});
        row("hashed name of a folder", {u"620/@.jpg/x"_s}, {});
        row("hashed in a deeper folder", {u"620/sub/@.jpg"_s}, {});
        row("icon of the old kind in the folder", {u"620/620_icon.jpg"_s}, {});
        row("png of the old kind", {u"620_icon.png"_s}, {});
    }
    void icon()
    {
        QFETCH(QStringList, files);
        QFETCH(QString, icon);
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"620"_s, u"Portal 2"_s);
        const QString cache = machine.steamRoot() + "/appcache/librarycache/"_L1;
        for (QString file : files)
            machine.write(cache + file.replace(u'@', hash), "picture");
        const QList<GameEntry> games = steam::scanGames();
        QCOMPARE(games.size(), 1);
        QCOMPARE(games[0].iconPath, icon.isEmpty() ? QString() : cache + icon.replace(u'@', hash));
    }

    void iconsAreTheRootsOnly()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"620"_s, u"Portal 2"_s, machine.addLibrary(u"disk"_s));
        machine.write(u"disk/appcache/librarycache/620_icon.jpg"_s, "wrong");
        QCOMPARE(steam::scanGames().constFirst().iconPath, u""_s);
        const QString icon = machine.steamRoot() + "/appcache/librarycache/620_icon.jpg"_L1;
        machine.write(icon, "right");
        QCOMPARE(steam::scanGames().constFirst().iconPath, icon);
    }
};

QTEST_GUILESS_MAIN(TestGameScan)
#include "test_gamescan.moc"
