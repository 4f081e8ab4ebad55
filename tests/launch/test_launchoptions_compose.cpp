// SPDX-License-Identifier: MIT
#include "launch/launchoptions.h"
#include "sampleoptions.h"

#include <limits>

using namespace Qt::StringLiterals;
using launch::GameSettings;

namespace
{

const QString lossless = u"/l/Lossless.dll"_s;
const QString usualSize = u"-w 1280 -h 720 -W 1920 -H 1080 -F fsr"_s;

/// The launch options of a game on the display's GPU, with what varies between the words that all
/// have.
QString text(const QString &before, const QString &middle = usualSize, const QString &after = {})
{
    return "MARROWPULSE=1 "_L1 + before +
           "marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf "_L1 + middle +
           " -f --force-windows-fullscreen -g -- "_L1 + after + "%command%"_L1;
}

QString compose(const GameSettings &settings, const QString &losslessPath = {}, int refreshHz = 144)
{
    return launch::composeLaunchOptions(settings, displayGpu(), displayGpu(), {}, losslessPath,
                                        refreshHz);
}

/// Without frame generation and cap.
const GameSettings bare{.framegen = false, .framecap = false};

} // namespace

class TestLaunchOptionsCompose : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wholeTexts()
    {
        // Upscaling and frame generation.
        QCOMPARE(
            compose({.framecap = false, .renderres = false}),
            u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 1280 -h 720 -W 1920 -H 1080 -F fsr -f --force-windows-fullscreen -g -- %command%"_s);
        // Everything on.
        QCOMPARE(
            launch::composeLaunchOptions({.fgbackend = 1, .pacing = 14, .debugoverlay = true},
                                         displayGpu(), secondGpu(), u"/opt/gs/lib"_s, lossless,
                                         144),
            u"MARROWPULSE=1 LD_LIBRARY_PATH=/opt/gs/lib GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 GAMESCOPE_FRAMEGEN_BACKEND=lsfg MARROWPULSE_FG_RENDER_RES=1 MARROWPULSE_LOW_LATENCY=1.4 GAMESCOPE_FRAMEGEN_DEBUG=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 1280 -h 720 -W 1920 -H 1080 -F fsr -r 108 -f --force-windows-fullscreen -g -- env MESA_VK_DEVICE_SELECT=pci-0000_01_00_0 DRI_PRIME=10de:2684 %command%"_s);
        // A new game's defaults, on a display of unknown rate.
        QCOMPARE(
            compose({}, {}, 0),
            u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 MARROWPULSE_FG_RENDER_RES=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 1280 -h 720 -W 1920 -H 1080 -F fsr -r 45 -f --force-windows-fullscreen -g -- %command%"_s);
    }

    void frameGeneration_data()
    {
        QTest::addColumn<GameSettings>("settings");
        QTest::addColumn<QString>("losslessPath");
        QTest::addColumn<QString>("tokens"); // between the marker and gamescope
        const auto row = [](const char *name, GameSettings settings, const QString &tokens,
                            const QString &losslessPath = lossless) {
            settings.framecap = false;
            QTest::newRow(name) << settings << losslessPath << tokens;
        };
        const QString group = u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 "_s;
        const QString pacing = group + u"MARROWPULSE_LOW_LATENCY="_s;
        row("off: nothing, whatever its other settings",
            {.framegen = false, .fgbackend = 1, .holdback = 2, .pacing = 15, .debugoverlay = true},
            {});
        row("on, and nothing else", {.renderres = false}, group);
        row("hold-back 0 is written, too", {.holdback = 0, .renderres = false},
            u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=0 "_s);
        row("hold-back 12", {.holdback = 12, .renderres = false},
            u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=12 "_s);
        row("LSFG", {.fgbackend = 1, .renderres = false},
            group + u"GAMESCOPE_FRAMEGEN_BACKEND=lsfg "_s);
        row("LSFG without Lossless Scaling", {.fgbackend = 1, .renderres = false}, group, {});
        row("a backend that is not known", {.fgbackend = 2, .renderres = false}, group);
        row("at render resolution", {}, group + u"MARROWPULSE_FG_RENDER_RES=1 "_s);
        row("with the overlay", {.renderres = false, .debugoverlay = true},
            group + u"GAMESCOPE_FRAMEGEN_DEBUG=1 "_s);
        row("pacing 0.9", {.renderres = false, .pacing = 9}, pacing + u"0.9 "_s);
        row("pacing 1.0", {.renderres = false, .pacing = 10}, pacing + u"1.0 "_s);
        row("pacing 123.4", {.renderres = false, .pacing = 1234}, pacing + u"123.4 "_s);
        row("pacing below zero: quotient and remainder are cut",
            {.renderres = false, .pacing = -15}, pacing + u"-1.-5 "_s);
    }
    void frameGeneration()
    {
        QFETCH(const GameSettings, settings);
        QFETCH(const QString, losslessPath);
        QFETCH(const QString, tokens);
        QCOMPARE(compose(settings, losslessPath), text(tokens));
    }

    void sizeAndCap_data()
    {
        QTest::addColumn<GameSettings>("settings");
        QTest::addColumn<QString>("tokens");
        const auto row = [](const char *name, GameSettings settings, const QString &tokens) {
            settings.framegen = false;
            QTest::newRow(name) << settings << tokens;
        };
        row("upscaling",
            {.renderW = 1600, .renderH = 900, .outputW = 3840, .outputH = 2160, .framecap = false},
            u"-w 1600 -h 900 -W 3840 -H 2160 -F fsr"_s);
        row("no upscaling: the output size twice, whatever the render size",
            {.upscaling = false, .renderW = 1600, .outputW = 2560, .outputH = 1440, .caphz = 60},
            u"-w 2560 -h 1440 -W 2560 -H 1440 -r 60"_s);
        row("upscaling between equal sizes", {.renderW = 1920, .renderH = 1080, .framecap = false},
            u"-w 1920 -h 1080 -W 1920 -H 1080 -F fsr"_s);
        row("no cap, whatever its number", {.framecap = false, .caphz = 60}, usualSize);
        row("an automatic cap at 144 Hz", {}, usualSize + u" -r 108"_s);
    }
    void sizeAndCap()
    {
        QFETCH(const GameSettings, settings);
        QFETCH(const QString, tokens);
        QCOMPARE(compose(settings), text({}, tokens));
    }

    void capInForce_data()
    {
        QTest::addColumn<int>("caphz");
        QTest::addColumn<int>("refreshHz");
        QTest::addColumn<int>("cap");
        QTest::newRow("a number") << 60 << 144 << 60;
        QTest::newRow("1 is a number") << 1 << 144 << 1;
        QTest::newRow("0 is automatic") << 0 << 144 << 108;
        QTest::newRow("below 0 is automatic, too") << -30 << 120 << 90;
    }
    void capInForce()
    {
        QFETCH(const int, caphz);
        QFETCH(const int, refreshHz);
        QTEST(launch::frameCapInForce({.caphz = caphz}, refreshHz), "cap");
    }

    void automaticCap_data()
    {
        QTest::addColumn<int>("refreshHz");
        QTest::addColumn<int>("cap");
        QTest::newRow("unknown rate") << 0 << 45;
        QTest::newRow("lowest int") << std::numeric_limits<int>::min() << 45;
        QTest::newRow("1 Hz: 0.75") << 1 << 1;
        QTest::newRow("60 Hz") << 60 << 45;
        QTest::newRow("75 Hz: 56.25") << 75 << 56;
        QTest::newRow("90 Hz: 67.5 goes up") << 90 << 68;
        QTest::newRow("165 Hz: 123.75") << 165 << 124;
        QTest::newRow("highest int") << std::numeric_limits<int>::max() << 1610612735;
    }
    void automaticCap()
    {
        QFETCH(const int, refreshHz);
        QTEST(launch::defaultFrameCap(refreshHz), "cap");
    }

    void theLibraryPrefixIsWrittenAsItIs()
    {
        const QString prefix = u" /a b:\"/c\" %1 "_s;
        QCOMPARE(launch::composeLaunchOptions(bare, displayGpu(), displayGpu(), prefix, {}, 60),
                 text("LD_LIBRARY_PATH="_L1 + prefix + u' '));
    }

    void theRenderingGpu_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("id");
        QTest::addColumn<bool>("isNamed");
        QTest::newRow("the display's by address and ids, whatever the tag")
            << u"0000:03:00.0"_s << u"pci-other"_s << u"1002:73bf"_s << false;
        QTest::newRow("the same ids at another address")
            << u"0000:04:00.0"_s << u"pci-0000_04_00_0"_s << u"1002:73bf"_s << true;
        QTest::newRow("other ids at the same address")
            << u"0000:03:00.0"_s << u"pci-0000_03_00_0"_s << u"1002:164e"_s << true;
        QTest::newRow("ids in other letter case")
            << u"0000:03:00.0"_s << u"pci-0000_03_00_0"_s << u"1002:73BF"_s << true;
        QTest::newRow("percent signs stay") << u"0000:04:00.0"_s << u"%2"_s << u"%1"_s << true;
        QTest::newRow("nothing is known of it") << u""_s << u""_s << u""_s << true;
    }
    void theRenderingGpu()
    {
        QFETCH(const QString, address);
        QFETCH(const QString, tag);
        QFETCH(const QString, id);
        QFETCH(const bool, isNamed);
        hw::GpuInfo gpu;
        gpu.pciAddress = address;
        gpu.pciTag = tag;
        gpu.pciId = id;
        const QString variables =
            "env MESA_VK_DEVICE_SELECT="_L1 + tag + " DRI_PRIME="_L1 + id + u' ';
        QCOMPARE(launch::composeLaunchOptions(bare, displayGpu(), gpu, {}, {}, 60),
                 text({}, usualSize, isNamed ? variables : QString()));
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsCompose)
#include "test_launchoptions_compose.moc"
