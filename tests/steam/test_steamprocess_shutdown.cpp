// SPDX-License-Identifier: MIT
// Asking the client to shut down and waiting for it.
#include "steam/steamprocess.h"

#include "support/pretendmachine.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTest>

#include <csignal>

using namespace Qt::StringLiterals;
using support::PretendMachine;

class TestSteamProcessShutdown : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutAClient()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addSteamCommand();
        int ticks = 0; // one after each wait
        QVERIFY(steam::shutdownSteam(90, [&ticks] { ++ticks; }));
        QCOMPARE(ticks, 0);
        QTRY_COMPARE_WITH_TIMEOUT(machine.steamCalls(), QStringList{u"-shutdown"_s}, 30'000);
    }

    void ofAClient()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.writeLocalConfig("\"UserLocalConfigStore\"\n{\n}\n");
        machine.startSteamClient();
        QVERIFY(steam::isSteamRunning());
        QVERIFY(steam::shutdownSteam(30, {}));
        QVERIFY(!steam::isSteamRunning());
        QCOMPARE(machine.steamCalls(), QStringList{u"-shutdown"_s});
        // It was asked to exit and so has written its file.
        QCOMPARE(machine.readLocalConfig(),
                 QByteArray("\"UserLocalConfigStore\"\n{\n\t\"ExitCount\"\t\t\"1\"\n}\n"));
    }

    void ofAStubbornClient()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.writeLocalConfig("\"UserLocalConfigStore\"\n{\n}\n");
        machine.startStubbornSteamClient();
        int ticks = 0;
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!steam::shutdownSteam(2, [&ticks] { ++ticks; }));
        QVERIFY(timer.elapsed() >= 2000);
        QCOMPARE(ticks, 4);
        QVERIFY(steam::isSteamRunning());
        QCOMPARE(machine.steamCalls(), QStringList{u"-shutdown"_s});
        QCOMPARE(machine.readLocalConfig(), QByteArray("\"UserLocalConfigStore\"\n{\n}\n"));
    }

    void withoutBudget_data()
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<bool>("clientRuns");
        QTest::newRow("0 seconds, client running") << 0 << true;
        QTest::newRow("0 seconds, no client") << 0 << false;
        QTest::newRow("-1 seconds, client running") << -1 << true;
        QTest::newRow("-1 seconds, no client") << -1 << false;
    }
    void withoutBudget()
    {
        QFETCH(int, seconds);
        QFETCH(bool, clientRuns);
        PretendMachine machine;
        machine.installSteam();
        machine.addSteamCommand();
        if (clientRuns)
            machine.startStubbornSteamClient();
        int ticks = 0;
        QCOMPARE(steam::shutdownSteam(seconds, [&ticks] { ++ticks; }), !clientRuns);
        QCOMPARE(ticks, 0);
        QTRY_COMPARE_WITH_TIMEOUT(machine.steamCalls(), QStringList{u"-shutdown"_s}, 30'000);
    }

    void ofAClientThatGoesMeanwhile_data()
    {
        QTest::addColumn<int>("goesAtTick");
        QTest::newRow("seen by the next look") << 1;
        QTest::newRow("seen by the last look, after the last wait") << 2;
    }
    void ofAClientThatGoesMeanwhile()
    {
        QFETCH(int, goesAtTick);
        PretendMachine machine;
        machine.installSteam();
        machine.startStubbornSteamClient();
        int ticks = 0;
        const bool gone = steam::shutdownSteam(1, [&] {
            if (++ticks == goesAtTick) {
                machine.killSteamClient();
                QTRY_VERIFY_WITH_TIMEOUT(!steam::isSteamRunning(), 30'000);
            }
        });
        QVERIFY(gone);
        QCOMPARE(ticks, goesAtTick);
    }

    void doesNotGoByTheCommand_data()
    {
        QTest::addColumn<QByteArray>("script"); // none: there is no such command
        QTest::newRow("missing") << QByteArray();
        QTest::newRow("fails") << QByteArray("#!/bin/sh\nexit 1\n");
        QTest::newRow("succeeds, and asks nobody") << QByteArray("#!/bin/sh\nexit 0\n");
    }
    void doesNotGoByTheCommand()
    {
        QFETCH(QByteArray, script);
        PretendMachine machine;
        machine.installSteam();
        machine.startStubbornSteamClient();
        QVERIFY(QFile::remove(machine.root() + "/bin/steam"_L1));
        if (!script.isEmpty())
            machine.addCommand(u"steam"_s, script);
        QVERIFY(!steam::shutdownSteam(1, {}));
        machine.killSteamClient();
        QVERIFY(steam::shutdownSteam(30, {}));
    }

    void doesNotWaitForTheCommand()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addCommand(u"steam"_s, "#!/bin/sh\necho $$ > \"$HOME/command\"\nexec sleep 60\n");
        QVERIFY(steam::shutdownSteam(1, {}));
        QTRY_VERIFY_WITH_TIMEOUT(machine.read(u"home/command"_s).endsWith('\n'), 30'000);
        const pid_t command = machine.read(u"home/command"_s).trimmed().toInt();
        QCOMPARE(::kill(command, SIGKILL), 0); // it runs still
    }
};

QTEST_GUILESS_MAIN(TestSteamProcessShutdown)
#include "test_steamprocess_shutdown.moc"
