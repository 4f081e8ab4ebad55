// SPDX-License-Identifier: MIT
#include "launch/launchoptions.h"
#include "sampleoptions.h"

using namespace Qt::StringLiterals;
using launch::GameSettings;

namespace
{

/// The settings that an empty text expresses.
const GameSettings nothing{
    .upscaling = false, .framegen = false, .framecap = false, .renderres = false};

const QString nines = u"99999999999"_s;

} // namespace

class TestLaunchOptionsRead : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void textsOfTheProgramsOwn_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("own");
        const auto row = [](const char *name, const QString &text, bool own) {
            QTest::newRow(name) << text << own;
        };
        row("empty", u""_s, false);
        row("the command alone", u"%command%"_s, false);
        row("marker and command", u"MARROWPULSE=1 x %command%"_s, true);
        row("the marker after the command", u"%command% MARROWPULSE=1"_s, true);
        row("the marker in a longer word", u"XMARROWPULSE=12%command%"_s, true);
        row("the marker without the command", u"MARROWPULSE=1 %command"_s, false);
        row("the marker, the command in capitals", u"MARROWPULSE=1 %COMMAND%"_s, false);
        row("the marker in lower case", u"marrowpulse=1 %command%"_s, false);
        row("the marker with another value", u"MARROWPULSE=0 %command%"_s, false);

        row("an earlier version's, which had no marker",
            u"GAMESCOPE_FRAMEGEN=auto gamescope -f -- %command%"_s, true);
        row("an earlier version's, with any frame generation variable",
            u"GAMESCOPE_FRAMEGEN_DEBUG=1 /opt/bin/gamescope -- %command%"_s, true);
        row("an earlier version's without the command",
            u"GAMESCOPE_FRAMEGEN=auto gamescope -f --"_s, false);
        row("gamescope without frame generation", u"gamescope -f -- %command%"_s, false);
        row("frame generation without gamescope", u"GAMESCOPE_FRAMEGEN=auto %command%"_s, false);
        row("no blank after gamescope", u"GAMESCOPE_FRAMEGEN=auto gamescope\t-- %command%"_s,
            false);
        row("frame generation in lower case", u"gamescope_framegen=auto gamescope -- %command%"_s,
            false);
        row("gamescope in capitals", u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE -- %command%"_s, false);
    }
    void textsOfTheProgramsOwn()
    {
        QFETCH(const QString, text);
        QFETCH(const bool, own);
        QCOMPARE(launch::isOwnLaunchOptions(text), own);
        QCOMPARE(launch::isUsersOwn(text), !own && !text.isEmpty());
    }

    void numberInAText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("number");
        QTest::newRow("no match: the fallback") << u"-W 12"_s << 7;
        QTest::newRow("the first match") << u"-w 1 -w 2"_s << 1;
        QTest::newRow("leading zeros") << u"-w 0010"_s << 10;
        QTest::newRow("the largest") << u"-w 2147483647"_s << 2147483647;
        QTest::newRow("too large: 0, not the fallback") << u"-w 2147483648"_s << 0;
        QTest::newRow("no number in the group: 0") << u"-w x"_s << 0;
    }
    void numberInAText()
    {
        QFETCH(const QString, text);
        const QRegularExpression pattern(u"-w (\\w+)"_s);
        QTEST(launch::captureInt(text, pattern, 7), "number");
    }

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
        const Size hd{1920, 1080};

        row("an empty text", {}, false, fallback, hd);
        row("upscaling, in any order", u"-F fsr -H 1440 -W 2560 -h 900 -w 1600"_s, true,
            {1600, 900}, {2560, 1440});
        row("no -F fsr: the render size does not count", u"-w 1600 -h 900 -W 3840 -H 2160"_s, false,
            fallback, {3840, 2160});
        row("equal sizes: no upscaling", u"-w 1920 -h 1080 -W 1920 -H 1080 -F fsr"_s, false,
            fallback, hd);
        row("only the width differs", u"-w 1600 -h 1080 -W 1920 -H 1080 -F fsr"_s, true,
            {1600, 1080}, hd);
        row("only the height differs", u"-w 1920 -h 900 -W 1920 -H 1080 -F fsr"_s, true,
            {1920, 900}, hd);
        row("-F fsr alone", u"-F fsr"_s, true, fallback, hd);
        row("two blanks in -F fsr", u"-w 1600 -h 900 -F  fsr"_s, false, fallback, hd);
        row("-f fsr in lower case", u"-w 1600 -h 900 -f fsr"_s, false, fallback, hd);
        row("the first number of each", u"-w x -w 1600 -w 1 -h  5 -h 900 -h 1 -F fsr"_s, true,
            {1600, 900}, hd);
        row("no blank before the number", u"-w1600 -h900 -W2560 -H1440 -F fsr"_s, true, fallback,
            hd);
        row("negative numbers are none", u"-w -1600 -h 900 -F fsr"_s, true, {1280, 900}, hd);
        row("digits of another script are none", u"-w ١٦٠٠ -h 900 -F fsr"_s, true, {1280, 900}, hd);
        row("the end of a longer option", u"--new-w 1600 --high-h 900 -F fsr2"_s, true, {1600, 900},
            hd);
        row("eleven nines read as 0", "-w "_L1 + nines + " -h 1080 -F fsr"_L1, true, {0, 1080}, hd);
        row("any other number as it is", u"-w 1 -h 0 -W 99999 -H 2147483647 -F fsr"_s, true, {1, 0},
            {99999, 2147483647});
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
            GameSettings settings = nothing;
            change(settings);
            QTest::newRow(name) << text << settings;
        };
        const auto unchanged = [](GameSettings &) {};

        row("any value is on", u"GAMESCOPE_FRAMEGEN=0"_s,
            [](GameSettings &s) { s.framegen = true; });
        row("no equals sign is off", u"GAMESCOPE_FRAMEGEN auto"_s, unchanged);
        row("lower case is off", u"gamescope_framegen=auto"_s, unchanged);
        row("hold-back 90: its first digit", u"GAMESCOPE_FRAMEGEN_HOLDBACK=90"_s,
            [](GameSettings &s) { s.holdback = 9; });
        row("hold-back -2", u"GAMESCOPE_FRAMEGEN_HOLDBACK=-2"_s, unchanged);
        row("hold-back: the first that is a number",
            u"GAMESCOPE_FRAMEGEN_HOLDBACK=x GAMESCOPE_FRAMEGEN_HOLDBACK=2"_s,
            [](GameSettings &s) { s.holdback = 2; });
        row("LSFG in capitals", u"GAMESCOPE_FRAMEGEN_BACKEND=LSFG"_s, unchanged);
        row("another backend", u"GAMESCOPE_FRAMEGEN_BACKEND=mcfi"_s, unchanged);
        row("not at render resolution", u"MARROWPULSE_FG_RENDER_RES=0"_s, unchanged);
        row("without the overlay", u"GAMESCOPE_FRAMEGEN_DEBUG=0"_s, unchanged);
        row("all of its settings while it is off",
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
        QTest::addColumn<int>("caphz"); // 0: none
        QTest::newRow("1") << u"-r 1"_s << 1;
        QTest::newRow("0: none") << u"-r 0"_s << 0;
        QTest::newRow("0 before a number: none") << u"-r 0 -r 60"_s << 0;
        QTest::newRow("negative: none") << u"-r -60"_s << 0;
        QTest::newRow("too large: none") << "-r "_L1 + nines << 0;
        QTest::newRow("a capital letter: none") << u"-R 60"_s << 0;
        QTest::newRow("the end of a longer option") << u"--nested-r 60"_s << 60;
        QTest::newRow("a fraction is cut") << u"-r 59.94"_s << 59;
    }
    void frameCap()
    {
        QFETCH(const QString, text);
        QFETCH(const int, caphz);
        const GameSettings settings = launch::parseLaunchOptions(text);
        QCOMPARE(settings.framecap, caphz != 0);
        QCOMPARE(settings.caphz, caphz);
    }

    void pacing_data()
    {
        QTest::addColumn<QString>("value");
        QTest::addColumn<int>("pacing");
        QTest::newRow("less than 1") << u"0.9"_s << 9;
        QTest::newRow("more than 10") << u"123.4"_s << 1234;
        QTest::newRow("no tenths") << u"2."_s << 0;
        QTest::newRow("no whole") << u".5"_s << 0;
        QTest::newRow("a decimal comma") << u"2,5"_s << 0;
        QTest::newRow("a second decimal is cut") << u"2.59"_s << 25;
        QTest::newRow("negative") << u"-2.5"_s << 0;
        QTest::newRow("a whole that is too large reads as 0") << nines + ".7"_L1 << 7;
        QTest::newRow("the largest") << u"214748364.7"_s << 2147483647;
        QTest::newRow("tenths that are too large read as 0") << u"214748364.8"_s << 0;
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
