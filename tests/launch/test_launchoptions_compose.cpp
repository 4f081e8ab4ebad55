// SPDX-License-Identifier: MIT
#include "launch/launchoptions.h"
#include "sampleoptions.h"

#include <limits>

using namespace Qt::StringLiterals;
using launch::GameSettings;

namespace
{

/// 1280x720 to 1920x1080 with frame generation, and nothing that may be left out.
const GameSettings plain{.framecap = false, .renderres = false};

QString compose(const GameSettings &settings, const QString &losslessPath = {}, int refreshHz = 144)
{
    return launch::composeLaunchOptions(settings, displayGpu(), displayGpu(), {}, losslessPath,
                                        refreshHz);
}

} // namespace

class TestLaunchOptionsCompose : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void upscalingAndFrameGeneration()
    {
        QCOMPARE(
            compose(plain),
            u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 1280 -h 720 -W 1920 -H 1080 -F fsr -f --force-windows-fullscreen -g -- %command%"_s);
    }

    void everythingOn()
    {
        GameSettings settings;
        settings.fgbackend = 1;
        settings.pacing = 14;
        settings.debugoverlay = true;
        QCOMPARE(
            launch::composeLaunchOptions(settings, displayGpu(), secondGpu(), u"/opt/gs/lib"_s,
                                         u"/games/Lossless.dll"_s, 144),
            u"MARROWPULSE=1 LD_LIBRARY_PATH=/opt/gs/lib GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 GAMESCOPE_FRAMEGEN_BACKEND=lsfg MARROWPULSE_FG_RENDER_RES=1 MARROWPULSE_LOW_LATENCY=1.4 GAMESCOPE_FRAMEGEN_DEBUG=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 1280 -h 720 -W 1920 -H 1080 -F fsr -r 108 -f --force-windows-fullscreen -g -- env MESA_VK_DEVICE_SELECT=pci-0000_01_00_0 DRI_PRIME=10de:2684 %command%"_s);
    }

    void neitherUpscalingNorFrameGeneration()
    {
        GameSettings settings;
        settings.upscaling = false;
        settings.outputW = 2560;
        settings.outputH = 1440;
        settings.framegen = false;
        settings.caphz = 60;
        settings.pacing = 15;
        settings.debugoverlay = true;
        QCOMPARE(
            compose(settings),
            u"MARROWPULSE=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 2560 -h 1440 -W 2560 -H 1440 -r 60 -f --force-windows-fullscreen -g -- %command%"_s);
    }

    void defaultsOfANewGame()
    {
        QCOMPARE(
            compose(GameSettings(), {}, 0),
            u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 MARROWPULSE_FG_RENDER_RES=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 1280 -h 720 -W 1920 -H 1080 -F fsr -r 45 -f --force-windows-fullscreen -g -- %command%"_s);
    }

    void framegenTokens_data()
    {
        QTest::addColumn<GameSettings>("settings");
        QTest::addColumn<QString>("losslessPath");
        QTest::addColumn<QString>("tokens"); // between the marker and gamescope

        const auto row = [](const char *name, const GameSettings &settings, const QString &tokens,
                            const QString &losslessPath = u"/l/Lossless.dll"_s) {
            QTest::newRow(name) << settings << losslessPath << tokens;
        };
        const QString group = u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 "_s;

        row("off: none of them, whatever the rest says",
            {.framegen = false, .fgbackend = 1, .holdback = 2, .pacing = 15, .debugoverlay = true},
            u""_s);

        row("nothing optional", {.renderres = false}, group);
        row("hold-back 2", {.holdback = 2, .renderres = false},
            u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=2 "_s);
        row("hold-back 0 is written too", {.holdback = 0, .renderres = false},
            u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=0 "_s);
        row("hold-back 12", {.holdback = 12, .renderres = false},
            u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=12 "_s);

        row("LSFG", {.fgbackend = 1, .renderres = false},
            group + u"GAMESCOPE_FRAMEGEN_BACKEND=lsfg "_s);
        row("LSFG without Lossless Scaling", {.fgbackend = 1, .renderres = false}, group, {});
        row("backend 2", {.fgbackend = 2, .renderres = false}, group);
        row("backend -1", {.fgbackend = -1, .renderres = false}, group);

        row("render resolution", {}, group + u"MARROWPULSE_FG_RENDER_RES=1 "_s);
        row("debug overlay", {.renderres = false, .debugoverlay = true},
            group + u"GAMESCOPE_FRAMEGEN_DEBUG=1 "_s);

        const auto paced = [](int pacing) {
            return GameSettings{.renderres = false, .pacing = pacing};
        };
        row("pacing 0", paced(0), group);
        row("pacing 1", paced(1), group + u"MARROWPULSE_LOW_LATENCY=0.1 "_s);
        row("pacing 5", paced(5), group + u"MARROWPULSE_LOW_LATENCY=0.5 "_s);
        row("pacing 9", paced(9), group + u"MARROWPULSE_LOW_LATENCY=0.9 "_s);
        row("pacing 10", paced(10), group + u"MARROWPULSE_LOW_LATENCY=1.0 "_s);
        row("pacing 14", paced(14), group + u"MARROWPULSE_LOW_LATENCY=1.4 "_s);
        row("pacing 15", paced(15), group + u"MARROWPULSE_LOW_LATENCY=1.5 "_s);
        row("pacing 20", paced(20), group + u"MARROWPULSE_LOW_LATENCY=2.0 "_s);
        row("pacing 1234", paced(1234), group + u"MARROWPULSE_LOW_LATENCY=123.4 "_s);
        row("pacing -5: quotient and remainder cut towards zero", paced(-5),
            group + u"MARROWPULSE_LOW_LATENCY=0.-5 "_s);
        row("pacing -15: quotient and remainder cut towards zero", paced(-15),
            group + u"MARROWPULSE_LOW_LATENCY=-1.-5 "_s);
    }
    void framegenTokens()
    {
        QFETCH(const GameSettings, settings);
        QFETCH(const QString, losslessPath);
        QFETCH(const QString, tokens);
        QCOMPARE(
            compose(settings, losslessPath),
            "MARROWPULSE=1 "_L1 + tokens +
                "marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 1280 -h 720 "
                "-W 1920 -H 1080 -F fsr -r 108 -f --force-windows-fullscreen -g -- %command%"_L1);
    }

    void size_data()
    {
        QTest::addColumn<GameSettings>("settings");
        QTest::addColumn<QString>("size");

        const auto row = [](const char *name, GameSettings settings, const QString &size) {
            settings.framegen = false;
            settings.framecap = false;
            QTest::newRow(name) << settings << size;
        };
        row("upscaling", {.renderW = 1600, .renderH = 900, .outputW = 3840, .outputH = 2160},
            u"-w 1600 -h 900 -W 3840 -H 2160 -F fsr"_s);
        row("no upscaling: the output size twice, whatever the render size",
            {.upscaling = false, .renderW = 1600, .renderH = 900, .outputW = 3840, .outputH = 2160},
            u"-w 3840 -h 2160 -W 3840 -H 2160"_s);
        row("upscaling between equal sizes", {.renderW = 1920, .renderH = 1080},
            u"-w 1920 -h 1080 -W 1920 -H 1080 -F fsr"_s);
        row("any numbers", {.renderW = 0, .renderH = -1, .outputW = 2147483647, .outputH = 1},
            u"-w 0 -h -1 -W 2147483647 -H 1 -F fsr"_s);
    }
    void size()
    {
        QFETCH(const GameSettings, settings);
        QFETCH(const QString, size);
        QCOMPARE(
            compose(settings),
            "MARROWPULSE=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf "_L1 +
                size + " -f --force-windows-fullscreen -g -- %command%"_L1);
    }

    void frameCap_data()
    {
        QTest::addColumn<bool>("framecap");
        QTest::addColumn<int>("caphz");
        QTest::addColumn<int>("refreshHz");
        QTest::addColumn<QString>("token");

        QTest::newRow("off") << false << 60 << 144 << u""_s;
        QTest::newRow("a number") << true << 60 << 144 << u" -r 60"_s;
        QTest::newRow("1 is a number") << true << 1 << 144 << u" -r 1"_s;
        QTest::newRow("automatic at 144 Hz") << true << 0 << 144 << u" -r 108"_s;
        QTest::newRow("automatic at 75 Hz") << true << 0 << 75 << u" -r 56"_s;
        QTest::newRow("automatic, refresh rate unknown") << true << 0 << 0 << u" -r 45"_s;
        QTest::newRow("below 1 is automatic") << true << -30 << 120 << u" -r 90"_s;
    }
    void frameCap()
    {
        QFETCH(const bool, framecap);
        QFETCH(const int, caphz);
        QFETCH(const int, refreshHz);
        QFETCH(const QString, token);
        const GameSettings settings{.framegen = false, .framecap = framecap, .caphz = caphz};
        QCOMPARE(compose(settings, {}, refreshHz),
                 "MARROWPULSE=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf "
                 "-w 1280 -h 720 -W 1920 -H 1080 -F fsr"_L1 +
                     token + " -f --force-windows-fullscreen -g -- %command%"_L1);
    }

    void defaultFrameCap_data()
    {
        QTest::addColumn<int>("refreshHz");
        QTest::addColumn<int>("cap");

        QTest::newRow("unknown") << 0 << 45;
        QTest::newRow("negative") << -1 << 45;
        QTest::newRow("lowest int") << std::numeric_limits<int>::min() << 45;
        QTest::newRow("1 Hz: 0.75") << 1 << 1;
        QTest::newRow("2 Hz: 1.5") << 2 << 2;
        QTest::newRow("3 Hz: 2.25") << 3 << 2;
        QTest::newRow("24 Hz") << 24 << 18;
        QTest::newRow("60 Hz") << 60 << 45;
        QTest::newRow("75 Hz: 56.25") << 75 << 56;
        QTest::newRow("90 Hz: 67.5 goes up") << 90 << 68;
        QTest::newRow("120 Hz") << 120 << 90;
        QTest::newRow("144 Hz") << 144 << 108;
        QTest::newRow("165 Hz: 123.75") << 165 << 124;
        QTest::newRow("480 Hz") << 480 << 360;
        QTest::newRow("highest int") << std::numeric_limits<int>::max() << 1610612735;
    }
    void defaultFrameCap()
    {
        QFETCH(const int, refreshHz);
        QTEST(launch::defaultFrameCap(refreshHz), "cap");
    }

    void libraryPrefix_data()
    {
        QTest::addColumn<QString>("prefix");
        QTest::addColumn<QString>("token");

        QTest::newRow("none") << u""_s << u""_s;
        QTest::newRow("a folder") << u"/opt/gs/lib"_s << u"LD_LIBRARY_PATH=/opt/gs/lib "_s;
        QTest::newRow("as it stands")
            << u" /a b:\"/c\" %1 "_s << u"LD_LIBRARY_PATH= /a b:\"/c\" %1  "_s;
    }
    void libraryPrefix()
    {
        QFETCH(const QString, prefix);
        QFETCH(const QString, token);
        const GameSettings settings{.framegen = false, .framecap = false};
        QCOMPARE(
            launch::composeLaunchOptions(settings, displayGpu(), displayGpu(), prefix, {}, 60),
            "MARROWPULSE=1 "_L1 + token +
                "marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 1280 -h 720 "
                "-W 1920 -H 1080 -F fsr -f --force-windows-fullscreen -g -- %command%"_L1);
    }

    void renderGpu_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("token");

        QTest::newRow("the display's GPU")
            << u"0000:03:00.0"_s << u"pci-0000_03_00_0"_s << u"1002:73bf"_s << u""_s;
        QTest::newRow("only ids and address make it the same")
            << u"0000:03:00.0"_s << u"pci-other"_s << u"1002:73bf"_s << u""_s;
        QTest::newRow("another card")
            << u"0000:01:00.0"_s << u"pci-0000_01_00_0"_s << u"10de:2684"_s
            << u"env MESA_VK_DEVICE_SELECT=pci-0000_01_00_0 DRI_PRIME=10de:2684 "_s;
        QTest::newRow("same ids at another address")
            << u"0000:04:00.0"_s << u"pci-0000_04_00_0"_s << u"1002:73bf"_s
            << u"env MESA_VK_DEVICE_SELECT=pci-0000_04_00_0 DRI_PRIME=1002:73bf "_s;
        QTest::newRow("other ids at the same address")
            << u"0000:03:00.0"_s << u"pci-0000_03_00_0"_s << u"1002:164e"_s
            << u"env MESA_VK_DEVICE_SELECT=pci-0000_03_00_0 DRI_PRIME=1002:164e "_s;
        QTest::newRow("ids in another letter case")
            << u"0000:03:00.0"_s << u"pci-0000_03_00_0"_s << u"1002:73BF"_s
            << u"env MESA_VK_DEVICE_SELECT=pci-0000_03_00_0 DRI_PRIME=1002:73BF "_s;
        QTest::newRow("percent signs are not filled in")
            << u"0000:04:00.0"_s << u"%2"_s << u"%1"_s
            << u"env MESA_VK_DEVICE_SELECT=%2 DRI_PRIME=%1 "_s;
    }
    void renderGpu()
    {
        QFETCH(const QString, address);
        QFETCH(const QString, tag);
        QFETCH(const QString, id);
        QFETCH(const QString, token);
        hw::GpuInfo gpu;
        gpu.pciAddress = address;
        gpu.pciTag = tag;
        gpu.pciId = id;
        const GameSettings settings{.framegen = false, .framecap = false};
        QCOMPARE(launch::composeLaunchOptions(settings, displayGpu(), gpu, {}, {}, 60),
                 "MARROWPULSE=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf "
                 "-w 1280 -h 720 -W 1920 -H 1080 -F fsr -f --force-windows-fullscreen -g -- "_L1 +
                     token + "%command%"_L1);
    }

    void emptyGpusLeaveEmptyValues()
    {
        hw::GpuInfo elsewhere;
        elsewhere.pciAddress = u"0000:01:00.0"_s;
        const GameSettings settings{.framegen = false, .framecap = false};
        QCOMPARE(launch::composeLaunchOptions(settings, {}, elsewhere, {}, {}, 60),
                 u"MARROWPULSE=1 marrowpulse-gamescope --backend sdl --prefer-vk-device  -w 1280 "
                 "-h 720 -W 1920 -H 1080 -F fsr -f --force-windows-fullscreen -g -- "
                 "env MESA_VK_DEVICE_SELECT= DRI_PRIME= %command%"_s);
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsCompose)
#include "test_launchoptions_compose.moc"
