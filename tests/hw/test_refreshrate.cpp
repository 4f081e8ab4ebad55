// SPDX-License-Identifier: MIT
#include "hw/refreshrate.h"
#include "support/pretendmachine.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>

using namespace Qt::StringLiterals;
using support::PretendMachine;

namespace
{

constexpr int unlimited = 600'000; // in ms: ctest ends the test before that

/// True if this process has a child, running or dead but still in the process table.
bool hasChild()
{
    return ::waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT | __WALL) == 0 ||
           errno != ECHILD;
}

/// Recorded on a laptop with its own panel and one monitor.
const QString laptopAndMonitor =
    u"Screen 0: minimum 320 x 200, current 4480 x 1440, maximum 16384 x 16384\n"
    "eDP-1 connected 1920x1080+2560+360 (normal left inverted right x axis y axis) 344mm x 194mm\n"
    "   1920x1080     60.02*+  60.01    59.97    59.96    59.93    48.01  \n"
    "   1680x1050     59.95    59.88  \n"
    "   1400x1050     59.98  \n"
    "DP-1 disconnected (normal left inverted right x axis y axis)\n"
    "HDMI-1 disconnected (normal left inverted right x axis y axis)\n"
    "DP-2 connected primary 2560x1440+0+0 (normal left inverted right x axis y axis) 597mm x "
    "336mm\n"
    "   2560x1440     59.95 + 143.86*  120.00    99.95  \n"
    "   1920x1080     60.00    60.00    50.00    59.94  \n"
    "   640x480       75.00    72.81    66.67    60.00    59.94  \n"_s;

/// Recorded on a desktop computer whose television runs at a film's rate.
const QString television =
    u"Screen 0: minimum 8 x 8, current 3840 x 2160, maximum 32767 x 32767\n"
    "HDMI-0 connected primary 3840x2160+0+0 (normal left inverted right x axis y axis) 1210mm x "
    "680mm\n"
    "   3840x2160     59.94 +  50.00    29.97    25.00    23.98* \n"
    "   1920x1080     60.00    59.94    50.00    23.98  \n"
    "DP-0 disconnected (normal left inverted right x axis y axis)\n"_s;

/// Recorded with the only monitor switched off.
const QString noCurrentMode =
    u"Screen 0: minimum 320 x 200, current 320 x 200, maximum 16384 x 16384\n"
    "DP-1 connected (normal left inverted right x axis y axis)\n"
    "   2560x1440     59.95 + 143.86    120.00  \n"
    "   1920x1080     60.00    50.00  \n"_s;

} // namespace

class TestRefreshRate : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void rateInXrandrsOutput_data()
    {
        QTest::addColumn<QString>("output");
        QTest::addColumn<int>("hertz");

        QTest::newRow("recorded: the first output's current mode, primary or not")
            << laptopAndMonitor << 60;
        QTest::newRow("recorded: the current mode is not the preferred one") << television << 24;
        QTest::newRow("recorded: no current mode") << noCurrentMode << 0;
        QTest::newRow("the first output has no current mode")
            << u"A connected\n 1920x1080 60.00 +\nB connected\n 2560x1440 144.00*\n"_s << 144;
        QTest::newRow("a blank before the asterisk") << u"   1920x1080     60.00 *\n"_s << 0;
        QTest::newRow("a whole number") << u"   1920x1080     60*\n"_s << 0;
        QTest::newRow("a decimal comma") << u"   1920x1080     59,94*\n"_s << 0;
        QTest::newRow("no digit before the point") << u"   1920x1080     .94*\n"_s << 0;
        QTest::newRow("no output") << u""_s << 0;

        QTest::newRow("59.94 rounds up") << u"59.94*"_s << 60;
        QTest::newRow("a half goes up, also from an even number") << u"60.5*"_s << 61;
        QTest::newRow("less than a half goes down") << u"74.49*"_s << 74;
        QTest::newRow("23.5 is the least") << u"23.5*"_s << 24;
        QTest::newRow("23.49 is too slow") << u"23.49*"_s << 0;
        QTest::newRow("480.49 is the most") << u"480.49*"_s << 480;
        QTest::newRow("480.50 is too fast") << u"480.50*"_s << 0;
        QTest::newRow("an impossible first rate: the second is not taken")
            << u"A\n 1x1 500.00*\nB\n 1x1 60.00*\n"_s << 0;
        QTest::newRow("more digits than any number has") << QString(400, u'9') + ".0*"_L1 << 0;
    }
    void rateInXrandrsOutput()
    {
        QFETCH(const QString, output);
        QTEST(hw::parseRefreshRate(output), "hertz");
    }

    void rateFromXrandr_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("hertz");

        QTest::newRow("the current mode's")
            << QByteArray("echo '   1920x1080     143.86*+  60.00'") << 144;
        QTest::newRow("asked for --current and nothing else")
            << QByteArray("test \"$#:$*\" = '1:--current' && echo '1920x1080 60.00*'") << 60;
        QTest::newRow("prints nothing") << QByteArray("exit 0") << 0;
        QTest::newRow("the exit code does not count") << QByteArray("echo '60.00*'; exit 3") << 60;
        QTest::newRow("killed after the output") << QByteArray("echo '60.00*'; kill -KILL $$") << 0;
        QTest::newRow("standard error is not read")
            << QByteArray("echo '30.00*' >&2; echo '60.00*'") << 60;
        QTest::newRow("text beyond ASCII before the rate")
            << QByteArray("echo 'Moniteur \xC3\xA9teint \xFF\n75.00*'") << 75;
        QTest::newRow("more output than a pipe holds")
            << QByteArray("head -c 300000 /dev/zero | tr '\\0' x; echo ' 60.00*'") << 60;
        QTest::newRow("slow") << QByteArray("sleep 1; echo '60.00*'") << 60;
    }
    void rateFromXrandr()
    {
        QFETCH(const QByteArray, script);
        const PretendMachine machine;
        machine.addCommand(u"xrandr"_s, "#!/bin/sh\n" + script + '\n');
        QTEST(hw::detectRefreshRate(unlimited), "hertz");
    }

    void theRateIsUnknownWithoutAnXrandrThatRuns()
    {
        const PretendMachine machine;
        qputenv("PATH", QFile::encodeName(machine.root() + "/bin"_L1));
        QCOMPARE(hw::detectRefreshRate(), 0);
        machine.addCommand(u"xrandr"_s, "#!/no/such/interpreter\n");
        QCOMPARE(hw::detectRefreshRate(), 0);
    }

    void anXrandrThatHangsIsKilledAfterThreeSeconds()
    {
        const PretendMachine machine;
        machine.addCommand(u"xrandr"_s, "#!/bin/sh\necho '60.00*'\nexec sleep 60\n");
        // Qt would warn if its destructor had to wait for xrandr once more.
        QTest::failOnWarning(QRegularExpression(u"."_s));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(hw::detectRefreshRate(), 0);
        const qint64 elapsed = timer.elapsed();
        QVERIFY2(elapsed >= 2900 && elapsed < 30'000, QByteArray::number(elapsed));
        QTRY_VERIFY_WITH_TIMEOUT(!hasChild(), 20'000);
    }

    void anXrandrThatPrintsWithoutEndIsKilledAtOnce()
    {
        const PretendMachine machine;
        machine.addCommand(u"xrandr"_s, "#!/bin/sh\nexec yes '60.00*'\n");
        QCOMPARE(hw::detectRefreshRate(unlimited), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!hasChild(), 20'000);
    }

    void anXrandrThatComplainsWithoutEndTakesNoMemory()
    {
        const PretendMachine machine;
        machine.addCommand(u"xrandr"_s, "#!/bin/sh\nexec cat /dev/zero >&2\n");
        const auto peakKib = [] {
            rusage usage = {};
            ::getrusage(RUSAGE_SELF, &usage);
            return usage.ru_maxrss;
        };
        const long before = peakKib();
        QCOMPARE(hw::detectRefreshRate(), 0);
        QVERIFY2(peakKib() - before < 20'000, QByteArray::number(qint64(peakKib())));
        QTRY_VERIFY_WITH_TIMEOUT(!hasChild(), 20'000);
    }

    void aChildOfXrandrThatKeepsItsOutputOpenIsNotWaitedFor()
    {
        const PretendMachine machine;
        machine.addCommand(u"xrandr"_s, "#!/bin/sh\nsleep 60 &\necho $! > '" +
                                            QFile::encodeName(machine.root()) +
                                            "/pid'\necho '75.00*'\n");
        const int hertz = hw::detectRefreshRate(unlimited);
        const int pid = machine.read(u"pid"_s).trimmed().toInt();
        QVERIFY(pid > 0);
        QCOMPARE(::kill(pid, SIGKILL), 0); // it still held the pipe
        QCOMPARE(hertz, 75);
    }
};

QTEST_GUILESS_MAIN(TestRefreshRate)
#include "test_refreshrate.moc"
