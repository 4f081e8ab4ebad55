// SPDX-License-Identifier: MIT
#include "steam/gamescan.h"

#include "support/pretendmachine.h"

#include <QDir>
#include <QFile>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using steam::GameEntry;
using support::PretendMachine;

namespace
{

const QString hash = u"0123456789abcdef0123456789abcdef01234567"_s;

QStringList scannedNames()
{
    QStringList names;
    for (const GameEntry &game : steam::scanGames())
        names.append(game.name);
    return names;
}

} // namespace

class TestGameScan : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        machine = std::make_unique<PretendMachine>();
        machine->installSteam();
    }

    void cleanup() { machine.reset(); }

    void nothingIsFoundWithoutGames()
    {
        QCOMPARE(scannedNames(), QStringList());
        QCOMPARE(steam::findLosslessScalingDll(), u""_s);
        QVERIFY(QDir(machine->steamRoot()).removeRecursively());
        QCOMPARE(scannedNames(), QStringList());
        QCOMPARE(steam::findLosslessScalingDll(), u""_s);
    }

    void everyFieldOfAGame()
    {
        machine->addGame(u"620"_s, u"Portal 2"_s);
        machine->writeLocalConfig(
            "\"apps\" { \"620\" { \"LaunchOptions\" \"mangohud %command%\" } }");
        machine->write(cache() + "620_icon.jpg"_L1, "jpg");
        const QList<GameEntry> games = steam::scanGames();
        QCOMPARE(games.size(), 1);
        QCOMPARE(games[0].appid, u"620"_s);
        QCOMPARE(games[0].name, u"Portal 2"_s);
        QCOMPARE(games[0].iconPath, cache() + "620_icon.jpg"_L1);
        QCOMPARE(games[0].launchOptions, u"mangohud %command%"_s);
    }

    void appidInAManifestsName_data()
    {
        QTest::addColumn<QString>("fileName");
        QTest::addColumn<QString>("appid"); // empty: no game
        QTest::newRow("one digit") << u"appmanifest_7.acf"_s << u"7"_s;
        QTest::newRow("a leading zero stays") << u"appmanifest_0620.acf"_s << u"0620"_s;
        QTest::newRow("more digits than a number has")
            << u"appmanifest_12345678901234567890.acf"_s << u"12345678901234567890"_s;
        QTest::newRow("nothing after .acf") << u"appmanifest_620.acf.bak"_s << u""_s;
        QTest::newRow("no line feed after .acf") << u"appmanifest_620.acf\n"_s << u""_s;
        QTest::newRow("nothing before the name") << u"old_appmanifest_620.acf"_s << u""_s;
        QTest::newRow("no letters") << u"appmanifest_62x.acf"_s << u""_s;
        QTest::newRow("not without an id") << u"appmanifest_.acf"_s << u""_s;
        QTest::newRow("no digits of another script") << u"appmanifest_٦٢.acf"_s << u""_s;
        QTest::newRow("no capital letters") << u"AppManifest_620.acf"_s << u""_s;
        QTest::newRow("nothing in the point's place") << u"appmanifest_620_acf"_s << u""_s;
    }
    void appidInAManifestsName()
    {
        QFETCH(QString, fileName);
        machine->write(steamapps() + fileName, "\"name\" \"Game\"");
        QTEST(steam::scanGames().value(0).appid, "appid");
    }

    void nameInAManifest_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QStringList>("listed");
        const auto row = [](const char *name, const QByteArray &content,
                            const QStringList &listed) {
            QTest::newRow(name) << content << listed;
        };
        row("no space before the value", "\"name\"\"Portal 2\"", {u"Portal 2"_s});
        row("all six kinds of white space before it", "\"name\" \t\n\v\f\r\"Portal 2\"",
            {u"Portal 2"_s});
        row("a no-break space is no white space", "\"name\"\xc2\xa0\"Portal 2\"", {});
        row("line ends of another system",
            "\"AppState\"\r\n{\r\n\t\"name\"\t\t\"Portal 2\"\r\n}\r\n", {u"Portal 2"_s});
        row("the first of two", "\"name\" \"One\" \"name\" \"Two\"", {u"One"_s});
        row("an empty name", "\"name\" \"\"", {u""_s});
        row("not by another key", "\"Name\" \"Portal 2\" \"myname\" \"Portal 2\"", {});
        row("none in an empty file", "", {});
        row("none that is cut", "\"name\" \"Port", {});
        row("as it is, up to an escaped quote", "\"name\" \"The \\\"Game\\\"\"", {u"The \\"_s});
        row("blanks and line ends stay", "\"name\" \" Portal\r\n 2 \"", {u" Portal\r\n 2 "_s});
        row("UTF-8", "\"name\" \"Pokémon™ 🎮\"", {u"Pokémon™ 🎮"_s});
        row("of a game that is not installed fully", "\"StateFlags\" \"2\" \"name\" \"Portal 2\"",
            {u"Portal 2"_s});
    }
    void nameInAManifest()
    {
        QFETCH(QByteArray, content);
        machine->write(steamapps() + "appmanifest_620.acf"_L1, content);
        QTEST(scannedNames(), "listed");
    }

    void steamsToolsAreNoGames_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("listed");
        QTest::newRow("Proton") << u"Proton 9.0"_s << false;
        QTest::newRow("any name that begins so") << u"Protonium"_s << false;
        QTest::newRow("Proton later in the name") << u"The Proton Game"_s << true;
        QTest::newRow("proton in lower case") << u"proton 9.0"_s << true;
        QTest::newRow("a runtime") << u"Steam Linux Runtime 3.0 (sniper)"_s << false;
        QTest::newRow("a runtime later in the name") << u"My Steam Linux Runtime"_s << true;
        QTest::newRow("a runtime in lower case") << u"steam linux runtime"_s << true;
        QTest::newRow("common files anywhere in the name") << u"The Steamworks Common"_s << false;
        QTest::newRow("common files in lower case") << u"steamworks common"_s << true;
    }
    void steamsToolsAreNoGames()
    {
        QFETCH(QString, name);
        QFETCH(bool, listed);
        machine->addGame(u"620"_s, name);
        QCOMPARE(scannedNames(), listed ? QStringList{name} : QStringList{});
    }

    void losslessScalingIsNoGame()
    {
        machine->installLosslessScaling();
        machine->addGame(u"9930901"_s, u"Another"_s);
        QCOMPARE(scannedNames(), QStringList{u"Another"_s});
    }

    void aManifestIsAFileOrALinkToOne()
    {
        machine->write(steamapps() + "appmanifest_1.acf/appmanifest_2.acf"_L1,
                       "\"name\" \"In a folder\"");
        machine->write(u"elsewhere.acf"_s, "\"name\" \"Linked\"");
        QVERIFY(QFile::link(machine->root() + "/elsewhere.acf"_L1,
                            steamapps() + "appmanifest_3.acf"_L1));
        QCOMPARE(scannedNames(), QStringList{u"Linked"_s});
    }

    void gamesOfAllLibraries()
    {
        machine->addGame(u"1"_s, u"B in the root"_s);
        QCOMPARE(scannedNames(), QStringList{u"B in the root"_s});
        const QString disk = machine->addLibrary(u"disk"_s); // seen by the next scan
        machine->addGame(u"2"_s, u"A on the disk"_s, disk);
        machine->addGame(u"1"_s, u"C in both"_s, disk);
        QCOMPARE(scannedNames(),
                 (QStringList{u"A on the disk"_s, u"B in the root"_s, u"C in both"_s}));
    }

    /// Qt reads the locale at the start, so this is also run with LC_ALL set to the others here.
    /// German and Swedish put "Ä" in different places; "C" puts capital letters first.
    void gamesAreSortedAsTheUserSorts()
    {
        const QMap<QByteArray, QStringList> expected{
            {"de_DE.UTF-8", {u"anno"_s, u"Ärger"_s, u"Bravo"_s, u"Echo"_s, u"éclair"_s, u"Zulu"_s}},
            {"sv_SE.UTF-8", {u"anno"_s, u"Bravo"_s, u"Echo"_s, u"éclair"_s, u"Zulu"_s, u"Ärger"_s}},
            {"C.UTF-8", {u"Bravo"_s, u"Echo"_s, u"Zulu"_s, u"anno"_s, u"Ärger"_s, u"éclair"_s}},
        };
        const QByteArray locale = qgetenv("LC_ALL");
        QVERIFY2(expected.contains(locale), "LC_ALL is none of the locales of this test");
        machine->addGame(u"1"_s, u"Zulu"_s);
        machine->addGame(u"2"_s, u"Ärger"_s);
        machine->addGame(u"3"_s, u"anno"_s);
        machine->addGame(u"4"_s, u"Bravo"_s);
        machine->addGame(u"5"_s, u"éclair"_s);
        machine->addGame(u"6"_s, u"Echo"_s);
        QCOMPARE(scannedNames(), expected[locale]);
    }

    void launchOptionsOfEachGame()
    {
        machine->addGame(u"10"_s, u"A"_s);
        machine->addGame(u"100"_s, u"B"_s);
        machine->addGame(u"20"_s, u"C"_s);
        machine->addGame(u"30"_s, u"D"_s);
        const auto options = [] {
            QStringList texts;
            for (const GameEntry &game : steam::scanGames())
                texts.append(game.launchOptions);
            return texts;
        };
        const QStringList none(4, u""_s);
        QCOMPARE(options(), none); // without the file
        machine->writeLocalConfig("\"apps\" { \"100\" { \"LaunchOptions\" \"Ü hundred\" } "
                                  "\"10\" { \"LaunchOptions\" \"a\\\\b\r\n\" } \"20\" { } }");
        QCOMPARE(options(), (QStringList{u"a\\\\b\r\n"_s, u"Ü hundred"_s, u""_s, u""_s}));
        QVERIFY(QFile::remove(machine->localConfig()));
        QVERIFY(QDir().mkdir(machine->localConfig())); // which cannot be read
        QCOMPARE(options(), none);
    }

    void picture_data()
    {
        QTest::addColumn<QStringList>("files"); // in the cache; "@" stands for forty hex digits
        QTest::addColumn<QString>("picture");   // the one of the game, or none
        const auto row = [](const char *name, const QStringList &files, const QString &picture) {
            QTest::newRow(name) << files << picture;
        };
        row("the cache's file before the folder's",
            {u"620/@.jpg"_s, u"620/header.jpg"_s, u"620_icon.jpg"_s}, u"620_icon.jpg"_s);
        row("the hashed one before the header", {u"620/@.jpg"_s, u"620/header.jpg"_s},
            u"620/@.jpg"_s);
        row("a hashed png", {u"620/@.png"_s}, u"620/@.png"_s);
        row("of two hashed the first by name",
            {u"620/f123456789abcdef0123456789abcdef01234567.jpg"_s,
             u"620/0f23456789abcdef0123456789abcdef01234567.png"_s},
            u"620/0f23456789abcdef0123456789abcdef01234567.png"_s);
        row("the header alone", {u"620/header.jpg"_s}, u"620/header.jpg"_s);
        row("a header that is a folder", {u"620/header.jpg/x"_s}, u"620/header.jpg"_s);
        row("no header that is a png", {u"620/header.png"_s}, {});
        row("no other pictures", {u"620/library_600x900.jpg"_s, u"620/620_icon.jpg"_s}, {});
        row("none of another game", {u"6200_icon.jpg"_s, u"6200/@.jpg"_s}, {});
        row("none of a file in the folder's place", {u"620"_s}, {});
        row("no upper-case digits; the header then",
            {u"620/0123456789ABCDEF0123456789ABCDEF01234567.jpg"_s, u"620/header.jpg"_s},
            u"620/header.jpg"_s);
        row("no 39 digits", {u"620/123456789abcdef0123456789abcdef01234567.jpg"_s}, {});
        row("no 41 digits", {u"620/00123456789abcdef0123456789abcdef01234567.jpg"_s}, {});
        row("no letter after f", {u"620/0123456789abcdeg0123456789abcdef01234567.jpg"_s}, {});
        row("no other ending", {u"620/@.jpeg"_s, u"620/@.JPG"_s, u"620/@.jpg.tmp"_s}, {});
        row("no line feed at the end", {u"620/@.jpg\n"_s}, {});
        row("no folder with a hashed name", {u"620/@.jpg/x"_s}, {});
        row("none in a deeper folder", {u"620/sub/@.jpg"_s}, {});
        row("no png in the cache itself", {u"620_icon.png"_s}, {});
    }
    void picture()
    {
        QFETCH(QStringList, files);
        QFETCH(QString, picture);
        machine->addGame(u"620"_s, u"Portal 2"_s);
        for (QString file : files)
            machine->write(cache() + file.replace(u'@', hash), "picture");
        const QList<GameEntry> games = steam::scanGames();
        QCOMPARE(games.size(), 1);
        QCOMPARE(games[0].iconPath,
                 picture.isEmpty() ? QString() : cache() + picture.replace(u'@', hash));
    }

    void picturesAreInTheRootsCacheOnly()
    {
        machine->addGame(u"620"_s, u"Portal 2"_s, machine->addLibrary(u"disk"_s));
        machine->write(u"disk/appcache/librarycache/620_icon.jpg"_s, "wrong");
        QCOMPARE(steam::scanGames().constFirst().iconPath, u""_s);
        machine->write(cache() + "620_icon.jpg"_L1, "right");
        QCOMPARE(steam::scanGames().constFirst().iconPath, cache() + "620_icon.jpg"_L1);
    }

    void losslessScalingInTheFirstLibraryThatHasIt()
    {
        const QString dll = u"common/Lossless Scaling/Lossless.dll"_s;
        const QString first = machine->addLibrary(u"z-disk"_s) + u'/';
        machine->installLosslessScaling(machine->addLibrary(u"a-disk"_s));
        QCOMPARE(steam::findLosslessScalingDll(), machine->root() + "/a-disk/steamapps/"_L1 + dll);
        machine->installLosslessScaling(first);
        QCOMPARE(steam::findLosslessScalingDll(), first + dll);
        machine->installLosslessScaling();
        QCOMPARE(steam::findLosslessScalingDll(), steamapps() + dll);

        QVERIFY(QFile::remove(steamapps() + dll)); // the manifest alone does not do
        QCOMPARE(steam::findLosslessScalingDll(), first + dll);
        machine->write(first + manifest, "\"name\" \"Lossless Scaling\""); // it names no folder
        QCOMPARE(steam::findLosslessScalingDll(), machine->root() + "/a-disk/steamapps/"_L1 + dll);
        QVERIFY(QFile::remove(machine->root() + "/a-disk/steamapps/"_L1 + manifest));
        QCOMPARE(steam::findLosslessScalingDll(), u""_s);
    }

    void losslessScalingsFolder_data()
    {
        // The folders "LS", "LS 2" and "Ü" hold a Lossless.dll, the folder "lower" a lossless.dll.
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("folder"); // below "common"; none when empty
        const auto row = [](const char *name, const QByteArray &content, const QString &folder) {
            QTest::newRow(name) << content << folder;
        };
        row("no space before the value", "\"installdir\"\"LS\"", u"LS"_s);
        row("all six kinds of white space before it", "\"installdir\" \t\n\v\f\r\"LS\"", u"LS"_s);
        row("the first counts", "\"installdir\" \"LS 2\" \"installdir\" \"LS\"", u"LS 2"_s);
        row("only the first counts", "\"installdir\" \"missing\" \"installdir\" \"LS\"", u""_s);
        row("UTF-8", "\"installdir\" \"Ü\"", u"Ü"_s);
        row("not by a key with capital letters", "\"InstallDir\" \"LS\"", u""_s);
        row("none that is cut", "\"installdir\" \"LS", u""_s);
        row("no file in lower case", "\"installdir\" \"lower\"", u""_s);
    }
    void losslessScalingsFolder()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, folder);
        const QString common = steamapps() + "common/"_L1;
        for (const QString &name : {u"LS"_s, u"LS 2"_s, u"Ü"_s})
            machine->write(common + name + "/Lossless.dll"_L1, "MZ");
        machine->write(common + "lower/lossless.dll"_L1, "MZ");
        machine->write(steamapps() + manifest, content);
        QCOMPARE(steam::findLosslessScalingDll(),
                 folder.isEmpty() ? QString() : common + folder + "/Lossless.dll"_L1);
    }

private:
    static constexpr auto manifest = "appmanifest_993090.acf"_L1;

    QString steamapps() const { return machine->steamRoot() + "/steamapps/"_L1; }
    QString cache() const { return machine->steamRoot() + "/appcache/librarycache/"_L1; }

    std::unique_ptr<PretendMachine> machine;
};

QTEST_GUILESS_MAIN(TestGameScan)
#include "test_gamescan.moc"
