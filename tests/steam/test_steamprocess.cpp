// SPDX-License-Identifier: MIT
// Seeing whether the client runs, asking it to exit, and starting it.
#include "steam/steamprocess.h"

#include "support/pretendmachine.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using support::PretendMachine;

namespace
{

void writePid(const PretendMachine &machine, const QByteArray &text)
{
    machine.write(u"home/.steam/steam.pid"_s, text);
}

/// A process whose executable has this path, which must not exist yet. It ends with this object.
class Running
{
public:
    explicit Running(const QString &path)
    {
        QDir().mkpath(QFileInfo(path).path());
        if (!QFile::copy(QCoreApplication::applicationFilePath(), path))
            qFatal("cannot make %s", qPrintable(path));
        process.start(path, {u"--wait"_s});
        if (!process.waitForStarted())
            qFatal("cannot start %s", qPrintable(path));
    }
    ~Running()
    {
        process.kill();
        process.waitForFinished();
    }
    Q_DISABLE_COPY_MOVE(Running)
    QByteArray pid() const { return QByteArray::number(process.processId()); }

private:
    QProcess process;
};

} // namespace

class TestSteamProcess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noClientByThePidFile_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("only white space") << QByteArray(" \n\t\n");
        QTest::newRow("a process that does not exist") << QByteArray("999999999\n");
        QTest::newRow("no number") << QByteArray("client\n");
        QTest::newRow("no UTF-8") << QByteArray("\xff\xfe\n");
        QTest::newRow("a second line")
            << QByteArray::number(QCoreApplication::applicationPid()) + "\n1\n";
        // A kernel thread has no executable. The kernel hides those of other users' processes, too.
        QTest::newRow("a process whose executable cannot be read") << QByteArray("2\n");
    }
    void noClientByThePidFile()
    {
        QFETCH(QByteArray, text);
        const PretendMachine machine;
        QVERIFY(!steam::isSteamRunning()); // without the file
        writePid(machine, text);
        QVERIFY(!steam::isSteamRunning());
    }

    void noClientByAFolderInThePidFilesPlace()
    {
        const PretendMachine machine;
        machine.write(u"home/.steam/steam.pid/x"_s, "");
        QVERIFY(!steam::isSteamRunning());
    }

    void aClientByItsExecutablesPath_data()
    {
        QTest::addColumn<QString>("executable");
        QTest::addColumn<QByteArray>("pid"); // "@" stands for the number
        QTest::addColumn<bool>("running");
        QTest::newRow("called steam") << u"here/steam"_s << QByteArray("@") << true;
        QTest::newRow("with steam in its name")
            << u"here/mysteamclient"_s << QByteArray("@\r\n") << true;
        QTest::newRow("in a folder called steam, and white space around its number")
            << u"steam/client"_s << QByteArray(" \t\n@ \n\n") << true;
        QTest::newRow("not by a capital letter") << u"Steam/Steam"_s << QByteArray("@\n") << false;
        QTest::newRow("not another program that has its number after a reboot")
            << u"here/client"_s << QByteArray("@\n") << false;
    }
    void aClientByItsExecutablesPath()
    {
        QFETCH(QString, executable);
        QFETCH(QByteArray, pid);
        QFETCH(bool, running);
        const PretendMachine machine;
        // Not in the machine's folder: its path holds the name of this test, which says "steam".
        const QTemporaryDir folder(QDir::tempPath() + "/clients-XXXXXX"_L1);
        const QString path = folder.filePath(executable);
        const Running process(path);
        writePid(machine, pid.replace("@", process.pid()));
        QCOMPARE(steam::isSteamRunning(), running);
        QVERIFY(QFile::remove(path)); // as an update does while Steam runs
        QCOMPARE(steam::isSteamRunning(), running);
    }

    void aClientThatDoesNotRunIsNotWaitedFor()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addSteamCommand();
        int ticks = 0;
        QVERIFY(steam::shutdownSteam(90, [&ticks] { ++ticks; }));
        QCOMPARE(ticks, 0);
        QTRY_COMPARE_WITH_TIMEOUT(machine.steamCalls(), QStringList{u"-shutdown"_s}, 30'000);
    }

    void aClientExitsWhenAsked()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.writeLocalConfig("\"UserLocalConfigStore\"\n{\n}\n");
        machine.startSteamClient();
        QVERIFY(steam::isSteamRunning());
        QVERIFY(steam::shutdownSteam(30, {}));
        QVERIFY(!steam::isSteamRunning());
        QCOMPARE(machine.steamCalls(), QStringList{u"-shutdown"_s});
        // It was not killed: it wrote its file.
        QCOMPARE(machine.readLocalConfig(),
                 QByteArray("\"UserLocalConfigStore\"\n{\n\t\"ExitCount\"\t\t\"1\"\n}\n"));
    }

    void aClientThatDoesNotExitIsLeftAlone()
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

    void aClientIsAskedAlsoWhereThereIsNoTimeToWait_data()
    {
        QTest::addColumn<int>("seconds");
        QTest::addColumn<bool>("clientRuns");
        QTest::newRow("0 seconds, a client") << 0 << true;
        QTest::newRow("0 seconds, no client") << 0 << false;
        QTest::newRow("-1 seconds, a client") << -1 << true;
    }
    void aClientIsAskedAlsoWhereThereIsNoTimeToWait()
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

    void aClientThatExitsMeanwhileIsSeen_data()
    {
        QTest::addColumn<int>("exitsAtTick");
        QTest::newRow("by the next look") << 1;
        QTest::newRow("by the last look, after the last wait") << 2;
    }
    void aClientThatExitsMeanwhileIsSeen()
    {
        QFETCH(int, exitsAtTick);
        PretendMachine machine;
        machine.installSteam();
        machine.startStubbornSteamClient();
        int ticks = 0;
        const bool gone = steam::shutdownSteam(1, [&] {
            if (++ticks == exitsAtTick) {
                machine.killSteamClient();
                QTRY_VERIFY_WITH_TIMEOUT(!steam::isSteamRunning(), 30'000);
            }
        });
        QVERIFY(gone);
        QCOMPARE(ticks, exitsAtTick);
    }

    void theCommandsSuccessDoesNotCount_data()
    {
        QTest::addColumn<QByteArray>("script"); // empty: there is no such command
        QTest::newRow("it is missing") << QByteArray();
        QTest::newRow("it fails") << QByteArray("#!/bin/sh\nexit 1\n");
        QTest::newRow("it succeeds, and asks nobody") << QByteArray("#!/bin/sh\nexit 0\n");
    }
    void theCommandsSuccessDoesNotCount()
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

    void theCommandsEndIsNotWaitedFor()
    {
        const PretendMachine machine;
        machine.addCommand(u"steam"_s, "#!/bin/sh\necho $$ > \"$HOME/command\"\nexec sleep 60\n");
        QVERIFY(steam::shutdownSteam(1, {}));
        QTRY_VERIFY_WITH_TIMEOUT(machine.read(u"home/command"_s).endsWith('\n'), 30'000);
        const pid_t command = machine.read(u"home/command"_s).trimmed().toInt();
        QCOMPARE(::kill(command, SIGKILL), 0); // it still ran
    }

    void theClientIsStartedWithoutArguments()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addSteamCommand();
        steam::startSteam();
        QTRY_VERIFY_WITH_TIMEOUT(steam::isSteamRunning(), 30'000);
        QCOMPARE(machine.steamCalls(), QStringList{u""_s});
    }

    void nothingIsStartedWithoutTheCommand()
    {
        // Only the pretend machine's commands are on the search path, so no real client is started.
        const PretendMachine machine;
        qputenv("PATH", QFile::encodeName(machine.root() + "/bin"_L1));
        steam::startSteam();
        QVERIFY(!steam::isSteamRunning());
    }

    void theClientOutlivesItsStarter()
    {
        // A client that prints a line and answers when it is asked.
        const PretendMachine machine;
        machine.addCommand(u"steam"_s, "#!/bin/sh\n"
                                       "read -r question < \"$HOME/question\"\n"
                                       "echo 'The client was asked.' &&\n"
                                       "    echo \"$question\" > \"$HOME/answer\"\n");
        const QByteArray pipe = QFile::encodeName(machine.home() + "/question"_L1);
        QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
        // This very executable, told to start the client and to exit.
        QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(), {u"--start-steam"_s}),
                 0);

        // It can answer only if neither a signal nor a lost pipe told it of the starter's end.
        int question = -1;
        QTRY_VERIFY_WITH_TIMEOUT((question = ::open(pipe.constData(), O_WRONLY | O_NONBLOCK)) >= 0,
                                 30'000);
        const QByteArray line = "still there\n";
        const auto written = ::write(question, line.constData(), static_cast<size_t>(line.size()));
        ::close(question);
        QCOMPARE(written, line.size());
        QTRY_COMPARE_WITH_TIMEOUT(machine.read(u"home/answer"_s), line, 30'000);
    }
};

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().contains("--start-steam"_L1)) {
        steam::startSteam();
        return 0;
    }
    if (application.arguments().contains("--wait"_L1))
        return ::pause();
    TestSteamProcess test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_steamprocess.moc"
