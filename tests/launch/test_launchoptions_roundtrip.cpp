// SPDX-License-Identifier: MIT
#include "launch/launchoptions.h"
#include "sampleoptions.h"

using namespace Qt::StringLiterals;
using launch::GameSettings;

// Which settings come back from the string that they were composed to, and as what the others do.
class TestLaunchOptionsRoundTrip : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void composedAndParsed_data();
    void composedAndParsed();
    void gpuAndPrefixAreNotReadBack();
};

void TestLaunchOptionsRoundTrip::composedAndParsed_data()
{
    QTest::addColumn<GameSettings>("settings");
    QTest::addColumn<GameSettings>("comesBack");
    const auto row = [](const char *name, const GameSettings &settings,
                        const GameSettings &comesBack) {
        QTest::newRow(name) << settings << comesBack;
    };
    const auto same = [&row](const char *name, const GameSettings &settings) {
        row(name, settings, settings);
    };

    same("defaults with a cap of 60", {.caphz = 60});
    same("every field changed", {.renderW = 1600,
                                 .renderH = 900,
                                 .outputW = 3840,
                                 .outputH = 2160,
                                 .fgbackend = 1,
                                 .holdback = 2,
                                 .caphz = 72,
                                 .renderres = false,
                                 .pacing = 35,
                                 .debugoverlay = true});
    same("only the width differs", {.renderW = 1600, .renderH = 1080, .caphz = 60});
    same("only the height differs", {.renderW = 1920, .renderH = 900, .caphz = 60});
    same("hold-back 0", {.holdback = 0, .caphz = 60});
    same("hold-back 9", {.holdback = 9, .caphz = 60});
    same("cap 1", {.caphz = 1});
    same("pacing 9", {.caphz = 60, .pacing = 9});
    same("pacing 10", {.caphz = 60, .pacing = 10});

    row("upscaling off: the render size is the default",
        {.upscaling = false, .renderW = 1600, .renderH = 900, .caphz = 60},
        {.upscaling = false, .renderW = 1280, .renderH = 720, .caphz = 60});
    row("equal sizes: upscaling off", {.renderW = 1920, .renderH = 1080, .caphz = 60},
        {.upscaling = false, .renderW = 1280, .renderH = 720, .caphz = 60});
    row("frame generation off: its fields are lost",
        {.framegen = false,
         .fgbackend = 1,
         .holdback = 2,
         .caphz = 60,
         .renderres = true,
         .pacing = 15,
         .debugoverlay = true},
        {.framegen = false,
         .fgbackend = 0,
         .holdback = 1,
         .caphz = 60,
         .renderres = false,
         .pacing = 0,
         .debugoverlay = false});
    row("hold-back 10: its first digit", {.holdback = 10, .caphz = 60},
        {.holdback = 1, .caphz = 60});
    row("hold-back 27: its first digit", {.holdback = 27, .caphz = 60},
        {.holdback = 2, .caphz = 60});
    row("hold-back negative", {.holdback = -2, .caphz = 60}, {.holdback = 1, .caphz = 60});
    row("backend 2", {.fgbackend = 2, .caphz = 60}, {.fgbackend = 0, .caphz = 60});
    row("backend -1", {.fgbackend = -1, .caphz = 60}, {.fgbackend = 0, .caphz = 60});
    row("automatic cap: the number of that moment", {.caphz = 0}, {.caphz = 108});
    row("automatic cap below 0: the number of that moment", {.caphz = -5}, {.caphz = 108});
    row("no cap: no number either", {.framecap = false, .caphz = 60},
        {.framecap = false, .caphz = 0});
    row("pacing negative", {.caphz = 60, .pacing = -15}, {.caphz = 60, .pacing = 0});
    row("pacing just below 0", {.caphz = 60, .pacing = -5}, {.caphz = 60, .pacing = 0});
}

void TestLaunchOptionsRoundTrip::composedAndParsed()
{
    QFETCH(const GameSettings, settings);
    const QString text = launch::composeLaunchOptions(settings, displayGpu(), displayGpu(), {},
                                                      u"/l/Lossless.dll"_s, 144);
    QVERIFY(launch::isOwnLaunchOptions(text));
    QTEST(launch::parseLaunchOptions(text), "comesBack");
}

void TestLaunchOptionsRoundTrip::gpuAndPrefixAreNotReadBack()
{
    const GameSettings lsfg{.fgbackend = 1, .caphz = 60};
    const GameSettings mcfi{.fgbackend = 0, .caphz = 60};
    const QString text =
        launch::composeLaunchOptions(lsfg, displayGpu(), secondGpu(), u"/opt/gs/lib"_s, {}, 144);
    QVERIFY(text.contains("/opt/gs/lib"_L1) && text.contains("10de:2684"_L1));
    QVERIFY(launch::isOwnLaunchOptions(text));
    QCOMPARE(launch::parseLaunchOptions(text), mcfi); // LSFG is not there without its path
}

QTEST_GUILESS_MAIN(TestLaunchOptionsRoundTrip)
#include "test_launchoptions_roundtrip.moc"
