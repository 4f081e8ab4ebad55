// SPDX-License-Identifier: MIT
#include "launch/settingsstore.h"
#include "sampleoptions.h"
#include "support/pretendmachine.h"

#include <QSettings>

using namespace Qt::StringLiterals;
using launch::GameSettings;
using support::PretendMachine;

namespace
{

const QByteArray allKeys = "[config]\n" + everythingChangedLines;
const QByteArray eightEarlyKeys = allKeys.first(allKeys.indexOf("10\\framecap="));
/// What a store with nothing but the key that marks stored settings loads as.
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

launch::LoadedGame load(const QByteArray &storeText, const QString &appid,
                        const QString &currentOptions = {})
{
    const PretendMachine machine;
    machine.write(machine.storePath(), storeText);
    const QSettings store(machine.storePath(), QSettings::IniFormat);
    return launch::loadGameSettings(store, appid, currentOptions);
}

} // namespace

class TestSettingsStoreLoad : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ownLaunchOptionsGoBeforeTheStore();
    void foreignLaunchOptionsLeaveItToTheStore_data();
    void foreignLaunchOptionsLeaveItToTheStore();
    void noStoredSettingsAreTheDefaults_data();
    void noStoredSettingsAreTheDefaults();
    void onlyTheEightEarlyKeys();
    void readDefaultOfEachKey();
    void malformedValues_data();
    void malformedValues();
    void malformedFiles_data();
    void malformedFiles();
};

void TestSettingsStoreLoad::ownLaunchOptionsGoBeforeTheStore()
{
    const launch::LoadedGame game =
        load(allKeys, u"10"_s,
             u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 "
             "marrowpulse-gamescope -w 1280 -h 720 -W 2560 -H 1440 -F fsr -r 75 -- %command%"_s);
    QCOMPARE(game.enabled, true);
    QCOMPARE(game.settings,
             (GameSettings{.outputW = 2560, .outputH = 1440, .caphz = 75, .renderres = false}));
}

void TestSettingsStoreLoad::foreignLaunchOptionsLeaveItToTheStore_data()
{
    QTest::addColumn<QString>("options");

    QTest::newRow("none") << u""_s;
    QTest::newRow("a user's own") << u"mangohud %command%"_s;
    QTest::newRow("the marker without the command") << u"MARROWPULSE=1 -w 800 -h 600"_s;
}

void TestSettingsStoreLoad::foreignLaunchOptionsLeaveItToTheStore()
{
    QFETCH(const QString, options);
    const launch::LoadedGame game = load(allKeys, u"10"_s, options);
    QCOMPARE(game.enabled, false);
    QCOMPARE(game.settings, everythingChanged);
}

void TestSettingsStoreLoad::noStoredSettingsAreTheDefaults_data()
{
    QTest::addColumn<QByteArray>("storeText");

    QTest::newRow("empty store") << QByteArray();
    QTest::newRow("another game's") << QByteArray(allKeys).replace("10\\", "100\\");
    QTest::newRow("a game whose number ends alike") << QByteArray(allKeys).replace("10\\", "910\\");
    QTest::newRow("all keys but framegen: ignored")
        << QByteArray(allKeys).replace("10\\framegen=false\n", "");
    QTest::newRow("framegen in another letter case")
        << QByteArray(allKeys).replace("framegen", "FrameGen");
    QTest::newRow("only original launch options") << QByteArray("[original]\n10=-novid\n");
}

void TestSettingsStoreLoad::noStoredSettingsAreTheDefaults()
{
    QFETCH(const QByteArray, storeText);
    const launch::LoadedGame game = load(storeText, u"10"_s, u"-novid"_s);
    QCOMPARE(game.enabled, false);
    QCOMPARE(game.settings, GameSettings());
}

void TestSettingsStoreLoad::onlyTheEightEarlyKeys()
{
    GameSettings expected = everythingChanged;
    expected.framecap = true;
    expected.caphz = 0;
    expected.renderres = true;
    expected.pacing = 0;
    expected.debugoverlay = false;
    QCOMPARE(load(eightEarlyKeys, u"10"_s).settings, expected);
}

void TestSettingsStoreLoad::readDefaultOfEachKey()
{
    const launch::LoadedGame game = load("[config]\n10\\framegen=true\n", u"10"_s);
    QCOMPARE(game.enabled, false);
    QCOMPARE(game.settings, nearlyNothing);
}

void TestSettingsStoreLoad::malformedValues_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<GameSettings>("settings");
    const auto row = [](const char *name, const QByteArray &line, void (*change)(GameSettings &)) {
        GameSettings settings = nearlyNothing;
        change(settings);
        QTest::newRow(name) << line << settings;
    };
    const auto unchanged = [](GameSettings &) {};
    const auto upscaling = [](GameSettings &s) { s.upscaling = true; };
    const auto noCap = [](GameSettings &s) { s.framecap = false; };

    row("a word for a number", "renderW=wide", unchanged);
    row("nothing for a number", "renderW=", unchanged);
    row("a fraction for a whole number", "caphz=59.94", unchanged);
    row("a number past all bounds", "caphz=99999999999999999999", unchanged);
    row("a number with a unit", "caphz=60 Hz", unchanged);
    row("a list for a number", "outputW=1, 2", unchanged);
    row("a quoted number", "renderW=\"1600\"", [](GameSettings &s) { s.renderW = 1600; });
    row("a negative number", "pacing=-15", [](GameSettings &s) { s.pacing = -15; });
    row("a number outside what the window offers", "renderW=1",
        [](GameSettings &s) { s.renderW = 1; });
    row("1 for true", "upscaling=1", upscaling);
    row("a word for true", "upscaling=yes", upscaling);
    row("0 for false", "framecap=0", noCap);
    row("false in capitals", "framecap=FALSE", noCap);
    row("nothing for a flag", "framecap=", noCap);
    row("a list for a flag", "framecap=true, true", noCap);
    row("an invalid value", "framecap=@Invalid()", noCap);
    row("a broken value of Qt's own", "renderW=@Size(", unchanged);
}

void TestSettingsStoreLoad::malformedValues()
{
    QFETCH(const QByteArray, line);
    QTEST(load("[config]\n10\\framegen=true\n10\\" + line + '\n', u"10"_s).settings, "settings");
}

void TestSettingsStoreLoad::malformedFiles_data()
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
    QTest::newRow("cut behind a key's equals sign")
        << allKeys.left(allKeys.indexOf("holdback=") + 9) << cut;
    QTest::newRow("cut within a key") << allKeys.left(allKeys.indexOf("holdback=") + 3) << cut;
    cut.outputH = 21;
    cut.framegen = true;
    cut.fgbackend = 0;
    QTest::newRow("cut within a number, with the marking key in front")
        << "[config]\n10\\framegen=true\n" + allKeys.mid(9, allKeys.indexOf("2160") + 2 - 9) << cut;
    QTest::newRow("cut before the marking key")
        << allKeys.left(allKeys.indexOf("10\\framegen")) << GameSettings();
    QTest::newRow("random bytes") << QByteArray::fromHex(
                                         "8f1b00ff5b633d0a0d0ac3285b5d5d3d3d25000a5cfe0122feff10ef")
                                  << GameSettings();
    QTest::newRow("random bytes, then a good section")
        << QByteArray::fromHex("8f1b00ff3d0a0d0ac328fe01") + "\n" + allKeys << everythingChanged;
    QTest::newRow("only zeros") << QByteArray(4096, '\0') << GameSettings();
    QTest::newRow("another file's text")
        << QByteArray("{ \"config\": { \"10\": true } }\n") << GameSettings();
}

void TestSettingsStoreLoad::malformedFiles()
{
    QFETCH(const QByteArray, storeText);
    QTEST(load(storeText, u"10"_s).settings, "settings");
}

QTEST_GUILESS_MAIN(TestSettingsStoreLoad)
#include "test_settingsstore_load.moc"
