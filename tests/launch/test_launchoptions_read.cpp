// SPDX-License-Identifier: MIT
#include "launch/launchoptions.h"
#include "sampleoptions.h"

using namespace Qt::StringLiterals;
using launch::GameSettings;

namespace
{

/// What a text expresses that says nothing.
const GameSettings nothing{
    .upscaling = false, .framegen = false, .framecap = false, .renderres = false};

GameSettings with(void (*change)(GameSettings &))
{
    GameSettings settings = nothing;
    change(settings);
    return settings;
}

const QString nines = u"99999999999"_s;

} // namespace

class TestLaunchOptionsRead : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isOwnLaunchOptions_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("own");

        QTest::newRow("empty") << u""_s << false;
        QTest::newRow("marker and command") << u"MARROWPULSE=1 x %command%"_s << true;
        QTest::newRow("marker without the command") << u"MARROWPULSE=1"_s << false;
        QTest::newRow("marker, command in capitals") << u"MARROWPULSE=1 %COMMAND%"_s << false;
        QTest::newRow("marker, half a command") << u"MARROWPULSE=1 %command"_s << false;
        QTest::newRow("command alone") << u"%command%"_s << false;
        QTest::newRow("marker behind the command") << u"%command% MARROWPULSE=1"_s << true;
        QTest::newRow("marker in a longer word") << u"XMARROWPULSE=12%command%"_s << true;
        QTest::newRow("marker in lower case") << u"marrowpulse=1 %command%"_s << false;
        QTest::newRow("marker of another value") << u"MARROWPULSE=0 %command%"_s << false;
        QTest::newRow("other variables of ours only")
            << u"MARROWPULSE_FG_RENDER_RES=1 %command%"_s << false;

        QTest::newRow("earlier version: no marker")
            << u"GAMESCOPE_FRAMEGEN=auto gamescope -f -- %command%"_s << true;
        QTest::newRow("earlier version: any frame generation variable")
            << u"GAMESCOPE_FRAMEGEN_DEBUG=1 gamescope -- %command%"_s << true;
        QTest::newRow("earlier version: gamescope at a path")
            << u"GAMESCOPE_FRAMEGEN=auto /opt/bin/gamescope -- %command%"_s << true;
        QTest::newRow("earlier version: without the command")
            << u"GAMESCOPE_FRAMEGEN=auto gamescope -f --"_s << false;
        QTest::newRow("gamescope without frame generation")
            << u"gamescope -f -- %command%"_s << false;
        QTest::newRow("frame generation without gamescope")
            << u"GAMESCOPE_FRAMEGEN=auto %command%"_s << false;
        QTest::newRow("no blank behind gamescope")
            << u"GAMESCOPE_FRAMEGEN=auto gamescope-session -- %command%"_s << false;
        QTest::newRow("tab behind gamescope")
            << u"GAMESCOPE_FRAMEGEN=auto gamescope\t-- %command%"_s << false;
        QTest::newRow("frame generation in lower case")
            << u"gamescope_framegen=auto gamescope -- %command%"_s << false;
        QTest::newRow("gamescope with a capital letter")
            << u"GAMESCOPE_FRAMEGEN=auto Gamescope -- %command%"_s << false;
        QTest::newRow("gamescope in capitals")
            << u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE -- %command%"_s << false;
        QTest::newRow("a user's own") << u"mangohud gamescope -W 1920 -- %command%"_s << false;
    }
    void isOwnLaunchOptions()
    {
        QFETCH(const QString, text);
        QTEST(launch::isOwnLaunchOptions(text), "own");
    }

    void captureInt_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<int>("number");

        QTest::newRow("no match: the fallback") << u"none"_s << u"-w (\\d+)"_s << 7;
        QTest::newRow("a number") << u"-w 12"_s << u"-w (\\d+)"_s << 12;
        QTest::newRow("first match") << u"-w 1 -w 2"_s << u"-w (\\d+)"_s << 1;
        QTest::newRow("first group") << u"3x4"_s << u"(\\d)x(\\d)"_s << 3;
        QTest::newRow("leading zeros") << u"-w 0010"_s << u"-w (\\d+)"_s << 10;
        QTest::newRow("largest") << u"-w 2147483647"_s << u"-w (\\d+)"_s << 2147483647;
        QTest::newRow("too large: 0, not the fallback")
            << u"-w 2147483648"_s << u"-w (\\d+)"_s << 0;
        QTest::newRow("far too large: 0") << u"-w "_s + nines << u"-w (\\d+)"_s << 0;
        QTest::newRow("no number in the group: 0") << u"-w x"_s << u"-w (\\w+)"_s << 0;
        QTest::newRow("letter case counts") << u"-W 12"_s << u"-w (\\d+)"_s << 7;
    }
    void captureInt()
    {
        QFETCH(const QString, text);
        QFETCH(const QString, pattern);
        QTEST(launch::captureInt(text, QRegularExpression(pattern), 7), "number");
    }

    void emptyText() { QCOMPARE(launch::parseLaunchOptions({}), nothing); }

    void sizes_data()
    {
        struct Size {
            int w;
            int h;
        };
        QTest::addColumn<QString>("text");
        QTest::addColumn<GameSettings>("settings");
        const auto row = [](const char *name, const QString &text, bool upscaling, Size render,
                            Size output) {
            GameSettings settings = nothing;
            settings.upscaling = upscaling;
            settings.renderW = render.w;
            settings.renderH = render.h;
            settings.outputW = output.w;
            settings.outputH = output.h;
            QTest::newRow(name) << text << settings;
        };
        const Size fallback{1280, 720};

        row("upscaling", u"-w 1600 -h 900 -W 3840 -H 2160 -F fsr"_s, true, {1600, 900},
            {3840, 2160});
        row("no -F fsr: the render size is dropped", u"-w 1600 -h 900 -W 3840 -H 2160"_s, false,
            fallback, {3840, 2160});
        row("-F fsr with equal sizes", u"-w 1920 -h 1080 -W 1920 -H 1080 -F fsr"_s, false, fallback,
            {1920, 1080});
        row("only the width differs", u"-w 1600 -h 1080 -W 1920 -H 1080 -F fsr"_s, true,
            {1600, 1080}, {1920, 1080});
        row("only the height differs", u"-w 1920 -h 900 -W 1920 -H 1080 -F fsr"_s, true,
            {1920, 900}, {1920, 1080});
        row("-F fsr alone", u"-F fsr"_s, true, {1280, 720}, {1920, 1080});
        row("-F fsr, only an output of 1280x720", u"-W 1280 -H 720 -F fsr"_s, false, fallback,
            {1280, 720});
        row("-F nis", u"-w 1600 -h 900 -F nis"_s, false, fallback, {1920, 1080});
        row("two blanks in -F fsr", u"-w 1600 -h 900 -F  fsr"_s, false, fallback, {1920, 1080});
        row("lower case -f fsr", u"-w 1600 -h 900 -f fsr"_s, false, fallback, {1920, 1080});
        row("-F fsr in a longer word", u"-w 1600 -h 900 -F fsr2"_s, true, {1600, 900},
            {1920, 1080});
        row("order does not matter", u"-F fsr -H 1440 -W 2560 -h 900 -w 1600"_s, true, {1600, 900},
            {2560, 1440});
        row("first of each counts", u"-w 1600 -w 1 -h 900 -h 1 -W 2560 -W 1 -H 1440 -H 1 -F fsr"_s,
            true, {1600, 900}, {2560, 1440});
        row("an option without a number is passed over", u"-w x -w 1600 -h  5 -h 900 -F fsr"_s,
            true, {1600, 900}, {1920, 1080});
        row("no blank before the number", u"-w1600 -h900 -W2560 -H1440 -F fsr"_s, true, {1280, 720},
            {1920, 1080});
        row("negative numbers are none", u"-w -1600 -h 900 -F fsr"_s, true, {1280, 900},
            {1920, 1080});
        row("digits of another script are none", u"-w ١٦٠٠ -h 900 -F fsr"_s, true, {1280, 900},
            {1920, 1080});
        row("end of a longer option", u"--new-w 1600 --high-h 900 -F fsr"_s, true, {1600, 900},
            {1920, 1080});
        row("eleven nines for -w read as 0",
            "-w "_L1 + nines + " -h 1080 -W 1920 -H 1080 -F fsr"_L1, true, {0, 1080}, {1920, 1080});
        row("eleven nines for -W read as 0", "-w 1600 -h 900 -W "_L1 + nines + " -H 1440 -F fsr"_L1,
            true, {1600, 900}, {0, 1440});
        row("sizes are taken as they are", u"-w 1 -h 0 -W 99999 -H 2147483647 -F fsr"_s, true,
            {1, 0}, {99999, 2147483647});
    }
    void sizes()
    {
        QFETCH(const QString, text);
        QTEST(launch::parseLaunchOptions(text), "settings");
    }

    void frameGeneration_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<GameSettings>("settings");
        const auto row = [](const char *name, const QString &text, void (*change)(GameSettings &)) {
            QTest::newRow(name) << text << with(change);
        };
        const auto unchanged = [](GameSettings &) {};

        row("on", u"GAMESCOPE_FRAMEGEN=auto"_s, [](GameSettings &s) { s.framegen = true; });
        row("any value is on", u"GAMESCOPE_FRAMEGEN=0"_s,
            [](GameSettings &s) { s.framegen = true; });
        row("without the equals sign", u"GAMESCOPE_FRAMEGEN auto"_s, unchanged);
        row("in lower case", u"gamescope_framegen=auto"_s, unchanged);

        row("hold-back 2", u"GAMESCOPE_FRAMEGEN_HOLDBACK=2"_s,
            [](GameSettings &s) { s.holdback = 2; });
        row("hold-back 0", u"GAMESCOPE_FRAMEGEN_HOLDBACK=0"_s,
            [](GameSettings &s) { s.holdback = 0; });
        row("hold-back 12: its first digit", u"GAMESCOPE_FRAMEGEN_HOLDBACK=12"_s, unchanged);
        row("hold-back 90: its first digit", u"GAMESCOPE_FRAMEGEN_HOLDBACK=90"_s,
            [](GameSettings &s) { s.holdback = 9; });
        row("hold-back negative", u"GAMESCOPE_FRAMEGEN_HOLDBACK=-2"_s, unchanged);
        row("hold-back without a number", u"GAMESCOPE_FRAMEGEN_HOLDBACK="_s, unchanged);
        row("hold-back: the first that is a number",
            u"GAMESCOPE_FRAMEGEN_HOLDBACK=x GAMESCOPE_FRAMEGEN_HOLDBACK=2"_s,
            [](GameSettings &s) { s.holdback = 2; });

        row("LSFG", u"GAMESCOPE_FRAMEGEN_BACKEND=lsfg"_s, [](GameSettings &s) { s.fgbackend = 1; });
        row("LSFG in capitals", u"GAMESCOPE_FRAMEGEN_BACKEND=LSFG"_s, unchanged);
        row("another backend", u"GAMESCOPE_FRAMEGEN_BACKEND=mcfi"_s, unchanged);

        row("render resolution", u"MARROWPULSE_FG_RENDER_RES=1"_s,
            [](GameSettings &s) { s.renderres = true; });
        row("render resolution off", u"MARROWPULSE_FG_RENDER_RES=0"_s, unchanged);
        row("debug overlay", u"GAMESCOPE_FRAMEGEN_DEBUG=1"_s,
            [](GameSettings &s) { s.debugoverlay = true; });
        row("debug overlay off", u"GAMESCOPE_FRAMEGEN_DEBUG=0"_s, unchanged);
        row("all of them without frame generation",
            u"GAMESCOPE_FRAMEGEN_HOLDBACK=2 GAMESCOPE_FRAMEGEN_BACKEND=lsfg "
            "MARROWPULSE_FG_RENDER_RES=1 MARROWPULSE_LOW_LATENCY=2.5 GAMESCOPE_FRAMEGEN_DEBUG=1"_s,
            [](GameSettings &s) {
                s.holdback = 2;
                s.fgbackend = 1;
                s.renderres = true;
                s.pacing = 25;
                s.debugoverlay = true;
            });
    }
    void frameGeneration()
    {
        QFETCH(const QString, text);
        QTEST(launch::parseLaunchOptions(text), "settings");
    }

    void frameCap_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("framecap");
        QTest::addColumn<int>("caphz");

        QTest::newRow("60") << u"-r 60"_s << true << 60;
        QTest::newRow("1") << u"-r 1"_s << true << 1;
        QTest::newRow("0") << u"-r 0"_s << false << 0;
        QTest::newRow("negative") << u"-r -60"_s << false << 0;
        QTest::newRow("too large") << "-r "_L1 + nines << false << 0;
        QTest::newRow("capital") << u"-R 60"_s << false << 0;
        QTest::newRow("0 is not passed over") << u"-r 0 -r 60"_s << false << 0;
        QTest::newRow("end of a longer option") << u"--nested-r 60"_s << true << 60;
        QTest::newRow("a fraction is cut") << u"-r 59.94"_s << true << 59;
    }
    void frameCap()
    {
        QFETCH(const QString, text);
        const GameSettings settings = launch::parseLaunchOptions(text);
        QTEST(settings.framecap, "framecap");
        QTEST(settings.caphz, "caphz");
    }

    void pacing_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<int>("pacing");

        QTest::newRow("2.5") << u"2.5"_s << 25;
        QTest::newRow("0.9") << u"0.9"_s << 9;
        QTest::newRow("0.0") << u"0.0"_s << 0;
        QTest::newRow("123.4") << u"123.4"_s << 1234;
        QTest::newRow("2 without tenths") << u"2"_s << 0;
        QTest::newRow("2. without tenths") << u"2."_s << 0;
        QTest::newRow(".5 without a whole") << u".5"_s << 0;
        QTest::newRow("2,5") << u"2,5"_s << 0;
        QTest::newRow("more decimals are dropped") << u"2.59"_s << 25;
        QTest::newRow("negative") << u"-2.5"_s << 0;
        QTest::newRow("negative tenths") << u"0.-5"_s << 0;
        QTest::newRow("a whole too large reads as 0") << nines + ".7"_L1 << 7;
        QTest::newRow("past the range of an int") << u"214748364.8"_s << 0;
        QTest::newRow("at the end of that range") << u"214748364.7"_s << 2147483647;
        QTest::newRow("digits of another script") << u"٢.٥"_s << 0;
        QTest::newRow("the first that is a number")
            << u"2 MARROWPULSE_LOW_LATENCY=1.5 MARROWPULSE_LOW_LATENCY=3.0"_s << 15;
    }
    void pacing()
    {
        QFETCH(const QString, value);
        QTEST(launch::parseLaunchOptions("MARROWPULSE_LOW_LATENCY="_L1 + value).pacing, "pacing");
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsRead)
#include "test_launchoptions_read.moc"
