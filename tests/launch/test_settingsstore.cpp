// SPDX-License-Identifier: MIT
// The keys under which settings are saved, and the settings that are loaded from them.
#include "launch/settingsstore.h"
#include "sampleoptions.h"
#include "support/pretendmachine.h"

#include <QSettings>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using launch::GameSettings;
using support::PretendMachine;

namespace
{

const QByteArray defaultLines = "9\\upscaling=true\n"
                                "9\\renderW=1280\n"
                                "9\\renderH=720\n"
                                "9\\outputW=1920\n"
                                "9\\outputH=1080\n"
                                "9\\framegen=true\n"
                                "9\\fgbackend=0\n"
                                "9\\holdback=1\n"
                                "9\\framecap=true\n"
                                "9\\caphz=0\n"
                                "9\\renderres=true\n"
                                "9\\pacing=0\n"
                                "9\\debugoverlay=false\n";

const QByteArray allKeys = "[config]\n" + everythingChangedLines;
const QByteArray eightEarlyKeys = allKeys.first(allKeys.indexOf("10\\framecap="));
/// The settings of a game for which the store has nothing but "framegen".
const GameSettings nearlyNothing{.upscaling = false,
                                 .renderW = 0,
                                 .renderH = 0,
                                 .outputW = 0,
                                 .outputH = 0,
                                 .framegen = true,
                                 .fgbackend = 0,
                                 .holdback = 0,
                                 .framecap = true,
                                 .caphz = 0,
                                 .renderres = true,
                                 .pacing = 0,
                                 .debugoverlay = false};

/// A file's lines, sorted: QSettings chooses the order within a section.
QByteArrayList sortedLines(const QByteArray &text)
{
    QByteArrayList lines = text.split('\n');
    std::sort(lines.begin(), lines.end());
    return lines;
}

} // namespace

class TestSettingsStore : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        machine = std::make_unique<PretendMachine>();
        store = std::make_unique<QSettings>(machine->storePath(), QSettings::IniFormat);
    }

    void cleanup()
    {
        store.reset();
        machine.reset();
    }

    void everyFieldOfEveryRecordIsSavedAndLoaded()
    {
        launch::saveAllGameSettings(*store,
                                    {{u"10"_s, everythingChanged}, {u"9"_s, GameSettings()}});
        QCOMPARE(sortedLines(text()),
                 sortedLines("[config]\n" + defaultLines + everythingChangedLines));
        QCOMPARE(load(text(), u"10"_s).settings, everythingChanged);
        QCOMPARE(load(text(), u"9"_s).settings, GameSettings());
    }

    void savingRemovesNoKey()
    {
        machine->write(machine->storePath(),
                       "[config]\n10\\holdback=1\n10\\later=7\n11\\framegen=true\n\n"
                       "[original]\n10=-novid\n");
        launch::saveAllGameSettings(*store, {{u"10"_s, everythingChanged}});
        QCOMPARE(sortedLines(text()),
                 sortedLines("[config]\n" + everythingChangedLines +
                             "10\\later=7\n11\\framegen=true\n\n[original]\n10=-novid\n"));
    }

    void theProgramsOwnLaunchOptionsGoBeforeTheStore()
    {
        const launch::LoadedGame game = load(
            allKeys, u"10"_s,
            u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 "
            "marrowpulse-gamescope -w 1280 -h 720 -W 2560 -H 1440 -F fsr -r 75 -- %command%"_s);
        QCOMPARE(game.enabled, true);
        QCOMPARE(game.settings,
                 (GameSettings{.outputW = 2560, .outputH = 1440, .caphz = 75, .renderres = false}));
    }

    void theStoreCountsForOtherLaunchOptions_data()
    {
        QTest::addColumn<QString>("options");

        QTest::newRow("no options") << u""_s;
        QTest::newRow("typed in Steam") << u"mangohud %command%"_s;
        QTest::newRow("the marker without the command") << u"MARROWPULSE=1 -w 800 -h 600"_s;
    }
    void theStoreCountsForOtherLaunchOptions()
    {
        QFETCH(const QString, options);
        const launch::LoadedGame game = load(allKeys, u"10"_s, options);
        QCOMPARE(game.enabled, false);
        QCOMPARE(game.settings, everythingChanged);
    }

    void aGameWithoutStoredSettingsHasTheDefaults_data()
    {
        QTest::addColumn<QByteArray>("storeText");

        QTest::newRow("empty store") << QByteArray();
        QTest::newRow("settings of another game") << QByteArray(allKeys).replace("10\\", "100\\");
        QTest::newRow("settings of a game whose number ends alike")
            << QByteArray(allKeys).replace("10\\", "910\\");
        QTest::newRow("every key but framegen")
            << QByteArray(allKeys).replace("10\\framegen=false\n", "");
        QTest::newRow("framegen in another letter case")
            << QByteArray(allKeys).replace("framegen", "FrameGen");
        QTest::newRow("only original launch options") << QByteArray("[original]\n10=-novid\n");
    }
    void aGameWithoutStoredSettingsHasTheDefaults()
    {
        QFETCH(const QByteArray, storeText);
        const launch::LoadedGame game = load(storeText, u"10"_s, u"-novid"_s);
        QCOMPARE(game.enabled, false);
        QCOMPARE(game.settings, GameSettings());
    }

    void aStoreOfAnEarlierVersionLacksTheLastFiveKeys()
    {
        GameSettings expected = everythingChanged;
        expected.framecap = true;
        expected.caphz = 0;
        expected.renderres = true;
        expected.pacing = 0;
        expected.debugoverlay = false;
        QCOMPARE(load(eightEarlyKeys, u"10"_s).settings, expected);
    }

    void everyMissingKeyHasItsOwnDefault()
    {
        const launch::LoadedGame game = load("[config]\n10\\framegen=true\n", u"10"_s);
        QCOMPARE(game.enabled, false);
        QCOMPARE(game.settings, nearlyNothing);
    }

    void valuesThatAPersonWroteIntoTheStore_data()
    {
        QTest::addColumn<QByteArray>("line");
        QTest::addColumn<GameSettings>("settings");
        const auto row = [](const char *name, const QByteArray &line,
                            void (*change)(GameSettings &)) {
            GameSettings settings = nearlyNothing;
            change(settings);
            QTest::newRow(name) << line << settings;
        };
        const auto unchanged = [](GameSettings &) {};
        const auto upscaling = [](GameSettings &s) { s.upscaling = true; };
        const auto noCap = [](GameSettings &s) { s.framecap = false; };

        row("a word for a number", "renderW=wide", unchanged);
        row("a fraction for a whole number", "caphz=59.94", unchanged);
        row("a number too large for any type", "caphz=99999999999999999999", unchanged);
        row("a quoted number", "renderW=\"1600\"", [](GameSettings &s) { s.renderW = 1600; });
        row("a size that the window does not offer", "renderW=1",
            [](GameSettings &s) { s.renderW = 1; });
        row("1 for true", "upscaling=1", upscaling);
        row("a word for true", "upscaling=yes", upscaling);
        row("0 for false", "framecap=0", noCap);
        row("nothing for a flag", "framecap=", noCap);
    }
    void valuesThatAPersonWroteIntoTheStore()
    {
        QFETCH(const QByteArray, line);
        QTEST(load("[config]\n10\\framegen=true\n10\\" + line + '\n', u"10"_s).settings,
              "settings");
    }

    void damagedStores_data()
    {
        QTest::addColumn<QByteArray>("storeText");
        QTest::addColumn<GameSettings>("settings");

        GameSettings cut = nearlyNothing;
        cut.renderW = 1600;
        cut.renderH = 900;
        cut.outputW = 3840;
        cut.outputH = 2160;
        cut.framegen = false;
        cut.fgbackend = 1;
        QTest::newRow("cut after a key's equals sign")
            << allKeys.left(allKeys.indexOf("holdback=") + 9) << cut;
        QTest::newRow("cut before framegen")
            << allKeys.left(allKeys.indexOf("10\\framegen")) << GameSettings();
        QTest::newRow("random bytes, then a good section")
            << QByteArray::fromHex("8f1b00ff3d0a0d0ac328fe01") + "\n" + allKeys
            << everythingChanged;
    }
    void damagedStores()
    {
        QFETCH(const QByteArray, storeText);
        QTEST(load(storeText, u"10"_s).settings, "settings");
    }

    void usersOwnOptionsAreKept_data()
    {
        QTest::addColumn<QString>("current");
        QTest::addColumn<bool>("kept");

        QTest::newRow("typed in Steam") << u"mangohud %command%"_s << true;
        QTest::newRow("a blank") << u" "_s << true;
        QTest::newRow("the marker without the command") << u"MARROWPULSE=1"_s << true;
        QTest::newRow("no options") << u""_s << false;
        QTest::newRow("not the program's")
            << u"MARROWPULSE=1 marrowpulse-gamescope -- %command%"_s << false;
        QTest::newRow("not an earlier version's")
            << u"GAMESCOPE_FRAMEGEN=auto gamescope -- %command%"_s << false;
    }
    void usersOwnOptionsAreKept()
    {
        QFETCH(const QString, current);
        QFETCH(const bool, kept);
        launch::rememberOriginalLaunchOptions(*store, u"9"_s, current);
        QCOMPARE(store->allKeys(), kept ? QStringList{u"original/9"_s} : QStringList());
        QCOMPARE(launch::originalLaunchOptions(*store, u"9"_s), kept ? current : QString());
    }

    void theFirstOptionsAreKeptForGood()
    {
        launch::rememberOriginalLaunchOptions(*store, u"9"_s, u"-novid"_s);
        launch::rememberOriginalLaunchOptions(*store, u"9"_s, u"-high"_s);
        QCOMPARE(launch::originalLaunchOptions(*store, u"9"_s), u"-novid"_s);

        // An earlier run kept these; the empty text counts, too.
        machine->write(machine->storePath(), "[original]\n11=-windowed\n12=\n");
        store = std::make_unique<QSettings>(machine->storePath(), QSettings::IniFormat);
        launch::rememberOriginalLaunchOptions(*store, u"11"_s, u"-high"_s);
        launch::rememberOriginalLaunchOptions(*store, u"12"_s, u"-high"_s);
        QCOMPARE(launch::originalLaunchOptions(*store, u"11"_s), u"-windowed"_s);
        QCOMPARE(launch::originalLaunchOptions(*store, u"12"_s), u""_s);
    }

private:
    QByteArray text() const { return machine->read(machine->storePath()); }
    /// The game as the next run of the program loads it, from a store of this text.
    launch::LoadedGame load(const QByteArray &storeText, const QString &appid,
                            const QString &currentOptions = {})
    {
        const QString path = machine->root() + "/next-run.conf"_L1;
        machine->write(path, storeText);
        return launch::loadGameSettings(QSettings(path, QSettings::IniFormat), appid,
                                        currentOptions);
    }

    std::unique_ptr<PretendMachine> machine;
    std::unique_ptr<QSettings> store;
};

QTEST_GUILESS_MAIN(TestSettingsStore)
#include "test_settingsstore.moc"
