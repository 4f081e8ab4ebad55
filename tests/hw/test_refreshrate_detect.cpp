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

constexpr int unlimited = 600'000; // in ms; the test itself is ended before

/// Whether this process has a child, be it a dead one in the process table.
bool hasChild()
{
    return ::waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT | __WALL) == 0 ||
           errno != ECHILD;
}

} // namespace

class TestRefreshRateDetect : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void detectRefreshRate_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<int>("hertz");

        QTest::newRow("current mode")
            << QByteArray("echo '   1920x1080     143.86*+  60.00'") << 144;
        QTest::newRow("asked for --current and nothing else")
            << QByteArray("test \"$#:$*\" = '1:--current' && echo '1920x1080 60.00*'") << 60;
        QTest::newRow("no current mode") << QByteArray("echo '   1920x1080     60.00'") << 0;
        QTest::newRow("prints nothing") << QByteArray("exit 0") << 0;
        QTest::newRow("exit code is not looked at") << QByteArray("echo '60.00*'; exit 3") << 60;
        QTest::newRow("crash after the output") << QByteArray("echo '60.00*'; kill -SEGV $$") << 0;
        QTest::newRow("killed after the output") << QByteArray("echo '60.00*'; kill -KILL $$") << 0;
        QTest::newRow("standard error is not read")
            << QByteArray("echo '30.00*' >&2; echo '60.00*'") << 60;
        QTest::newRow("only standard error") << QByteArray("echo '30.00*' >&2") << 0;
        QTest::newRow("text beyond ASCII before the rate")
            << QByteArray("echo 'Moniteur \xC3\xA9teint \xFF\n75.00*'") << 75;
        QTest::newRow("more output than a pipe holds")
            << QByteArray("head -c 300000 /dev/zero | tr '\\0' x; echo ' 60.00*'") << 60;
        QTest::newRow("slow") << QByteArray("sleep 1; echo '60.00*'") << 60;
    }
    void detectRefreshRate()
    {
        QFETCH(const QByteArray, script);
        const PretendMachine machine;
        machine.addCommand(u"xrandr"_s, "#!/bin/sh\n" + script + '\n');
        QTEST(hw::detectRefreshRate(unlimited), "hertz");
    }

    void noXrandrIsUnknown()
    {
        const PretendMachine machine;
        qputenv("PATH", QFile::encodeName(machine.root() + "/bin"_L1));
        QCOMPARE(hw::detectRefreshRate(), 0);
    }

    void xrandrThatCannotBeRunIsUnknown()
    {
        const PretendMachine machine;
        qputenv("PATH", QFile::encodeName(machine.root() + "/bin"_L1));
        machine.addCommand(u"xrandr"_s, "#!/no/such/interpreter\n");
        QCOMPARE(hw::detectRefreshRate(), 0);
    }

    void hangingXrandrIsGivenUpAndKilled()
    {
        const PretendMachine machine;
        machine.addCommand(u"xrandr"_s, "#!/bin/sh\necho '60.00*'\nexec sleep 60\n");
        // It is given up for good: Qt would complain of one that it had to wait for again.
        QTest::failOnWarning(QRegularExpression(u"."_s));
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(hw::detectRefreshRate(), 0);
        const qint64 elapsed = timer.elapsed();
        QVERIFY2(elapsed >= 2900 && elapsed < 30'000, QByteArray::number(elapsed));
        QTRY_VERIFY_WITH_TIMEOUT(!hasChild(), 20'000);
    }

    void endlessOutputIsGivenUpAtOnce()
    {
        const PretendMachine machine;
        machine.addCommand(u"xrandr"_s, "#!/bin/sh\nexec yes '60.00*'\n");
        QCOMPARE(hw::detectRefreshRate(unlimited), 0);
        QTRY_VERIFY_WITH_TIMEOUT(!hasChild(), 20'000);
    }

    void endlessComplaintsTakeNoMemory()
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

    void childThatKeepsTheOutputOpenIsNotWaitedFor()
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

QTEST_GUILESS_MAIN(TestRefreshRateDetect)
#include "test_refreshrate_detect.moc"
