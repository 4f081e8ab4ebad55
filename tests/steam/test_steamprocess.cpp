// SPDX-License-Identifier: MIT
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
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using support::PretendMachine;

class TestSteamProcess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void notRunningWithoutAPidFile();
    void notRunningByThePidFile_data();
    void notRunningByThePidFile();
    void runningClient();
    void whiteSpaceAroundThePid_data();
    void whiteSpaceAroundThePid();
    void executablePath_data();
    void executablePath();
    void exitedClientIsGone();
    void exitedButUnreapedClientIsGone();

    void shutdownWithoutAClient();
    void shutdownOfAClient();
    void shutdownOfAStubbornClient_data();
    void shutdownOfAStubbornClient();
    void shutdownWithoutBudget_data();
    void shutdownWithoutBudget();
    void shutdownWithoutTick();
    void clientThatGoesWhileWaiting_data();
    void clientThatGoesWhileWaiting();
    void shutdownWithoutTheCommand();
    void shutdownWithACommandThatFails();
    void shutdownDoesNotWaitForTheCommand();

    void startsTheClient();
    void startsNothingWithoutTheCommand();
    void clientOutlivesTheStarter();
    void clientHoldsNoFileOfTheStarter();
};

namespace
{

void writePid(const PretendMachine &machine, const QByteArray &text)
{
    machine.write(u"home/.steam/steam.pid"_s, text);
}

QByteArray pidOfClient(const PretendMachine &machine)
{
    return machine.read(u"home/.steam/steam.pid"_s).trimmed();
}

/// A process of `program` that ends with this object.
class Running
{
public:
    explicit Running(const QString &program, const QStringList &arguments = {u"60"_s})
    {
        process.start(program, arguments);
        if (!process.waitForStarted())
            qFatal("cannot start %s", qPrintable(program));
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

void TestSteamProcess::notRunningWithoutAPidFile()
{
    const PretendMachine machine;
    QVERIFY(!steam::isSteamRunning());
}

void TestSteamProcess::notRunningByThePidFile_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("white space only") << QByteArray(" \n\t\n");
    QTest::newRow("process that does not exist") << QByteArray("999999999\n");
    QTest::newRow("no number") << QByteArray("client\n");
    QTest::newRow("negative") << QByteArray("-1\n");
    QTest::newRow("zero") << QByteArray("0\n");
    QTest::newRow("bytes that are no UTF-8") << QByteArray("\xff\xfe\n");
}

void TestSteamProcess::notRunningByThePidFile()
{
    QFETCH(QByteArray, text);
    const PretendMachine machine;
    writePid(machine, text);
    QVERIFY(!steam::isSteamRunning());
}

void TestSteamProcess::runningClient()
{
    PretendMachine machine;
    machine.installSteam();
    machine.startSteamClient();
    QVERIFY(steam::isSteamRunning());
    QVERIFY(steam::isSteamRunning()); // looking changes nothing
    machine.killSteamClient();
    QTRY_VERIFY(!steam::isSteamRunning());
}

void TestSteamProcess::whiteSpaceAroundThePid_data()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("behind");
    QTest::newRow("none") << QByteArray("") << QByteArray("");
    QTest::newRow("line feed") << QByteArray("") << QByteArray("\n");
    QTest::newRow("CR LF") << QByteArray("") << QByteArray("\r\n");
    QTest::newRow("both ends") << QByteArray(" \t\n") << QByteArray(" \n\n");
}

void TestSteamProcess::whiteSpaceAroundThePid()
{
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, behind);
    PretendMachine machine;
    machine.installSteam();
    machine.startSteamClient();
    const QByteArray pid = pidOfClient(machine);
    writePid(machine, before + pid + behind);
    const bool running = steam::isSteamRunning();
    writePid(machine, pid);
    QVERIFY(running);
}

void TestSteamProcess::executablePath_data()
{
    QTest::addColumn<QString>("executable");
    QTest::addColumn<bool>("running");
    QTest::newRow("called steam") << u"here/steam"_s << true;
    QTest::newRow("steam in the name") << u"here/mysteamclient"_s << true;
    QTest::newRow("in a folder called steam") << u"steam/client"_s << true;
    QTest::newRow("Steam") << u"Steam/Steam"_s << false;
    QTest::newRow("something else") << u"here/client"_s << false;
    QTest::newRow("by chance after a reboot") << u"/bin/sleep"_s << false;
}

void TestSteamProcess::executablePath()
{
    QFETCH(QString, executable);
    QFETCH(bool, running);
    const PretendMachine machine;
    // Not in the machine's folder: its path holds the name of this test, which says "steam".
    const QTemporaryDir folder(QDir::tempPath() + "/clients-XXXXXX"_L1);
    const QString program = QDir(folder.path()).absoluteFilePath(executable);
    if (program != executable) {
        QVERIFY(QDir().mkpath(QFileInfo(program).path()));
        QVERIFY(QFile::copy(u"/bin/sleep"_s, program));
    }
    const Running process(program);
    writePid(machine, process.pid() + '\n');
    QCOMPARE(steam::isSteamRunning(), running);
}

void TestSteamProcess::exitedClientIsGone()
{
    PretendMachine machine;
    machine.installSteam();
    machine.startSteamClient();
    const QByteArray pid = pidOfClient(machine);
    machine.killSteamClient();
    QTRY_VERIFY(!steam::isSteamRunning());
    QCOMPARE(pidOfClient(machine), pid); // the stale pid file is still there
}

void TestSteamProcess::exitedButUnreapedClientIsGone()
{
    PretendMachine machine;
    machine.installSteam();
    machine.addSteamCommand();
    const QByteArray client = QFile::encodeName(machine.steamRoot() + "/ubuntu12_32/steam"_L1);
    QByteArray name = "steam";
    char *arguments[] = {name.data(), nullptr};
    pid_t pid = 0;
    QCOMPARE(::posix_spawn(&pid, client.constData(), nullptr, nullptr, arguments, environ), 0);
    // It exits once its background process runs, and stays as a zombie until it is waited for.
    siginfo_t state = {};
    QCOMPARE(::waitid(P_PID, static_cast<id_t>(pid), &state, WEXITED | WNOWAIT), 0);
    machine.killSteamClient();
    writePid(machine, QByteArray::number(pid) + '\n');
    const bool exists = ::kill(pid, 0) == 0;
    const bool running = steam::isSteamRunning();
    QCOMPARE(::waitpid(pid, nullptr, 0), pid);
    QVERIFY(exists);
    QVERIFY(!running);
}

void TestSteamProcess::shutdownWithoutAClient()
{
    PretendMachine machine;
    machine.installSteam();
    machine.addSteamCommand();
    int ticks = 0;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(steam::shutdownSteam(90, [&ticks] { ++ticks; }));
    QVERIFY(timer.elapsed() < 450); // less than one sleep
    QCOMPARE(ticks, 0);
    QTRY_COMPARE(machine.steamCalls(), QStringList{u"-shutdown"_s});
}

void TestSteamProcess::shutdownOfAClient()
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

void TestSteamProcess::shutdownOfAStubbornClient_data()
{
    QTest::addColumn<int>("seconds");
    QTest::addColumn<int>("ticks");
    QTest::newRow("1 second") << 1 << 2;
    QTest::newRow("2 seconds") << 2 << 4;
}

void TestSteamProcess::shutdownOfAStubbornClient()
{
    QFETCH(int, seconds);
    PretendMachine machine;
    machine.installSteam();
    machine.writeLocalConfig("\"UserLocalConfigStore\"\n{\n}\n");
    machine.startStubbornSteamClient();
    int ticks = 0;
    QElapsedTimer timer;
    timer.start();
    QVERIFY(!steam::shutdownSteam(seconds, [&ticks] { ++ticks; }));
    QVERIFY(timer.elapsed() >= 1000 * seconds);
    QVERIFY(timer.elapsed() < 1000 * seconds + 900);
    QTEST(ticks, "ticks");
    QVERIFY(steam::isSteamRunning());
    QCOMPARE(machine.steamCalls(), QStringList{u"-shutdown"_s});
    QCOMPARE(machine.readLocalConfig(), QByteArray("\"UserLocalConfigStore\"\n{\n}\n"));
}

void TestSteamProcess::shutdownWithoutBudget_data()
{
    QTest::addColumn<int>("seconds");
    QTest::addColumn<bool>("clientRuns");
    QTest::newRow("0 seconds, client running") << 0 << true;
    QTest::newRow("0 seconds, no client") << 0 << false;
    QTest::newRow("-1 seconds, client running") << -1 << true;
    QTest::newRow("-1 seconds, no client") << -1 << false;
}

void TestSteamProcess::shutdownWithoutBudget()
{
    QFETCH(int, seconds);
    QFETCH(bool, clientRuns);
    PretendMachine machine;
    machine.installSteam();
    machine.addSteamCommand();
    if (clientRuns)
        machine.startStubbornSteamClient();
    int ticks = 0;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(steam::shutdownSteam(seconds, [&ticks] { ++ticks; }), !clientRuns);
    QVERIFY(timer.elapsed() < 450);
    QCOMPARE(ticks, 0);
    QTRY_COMPARE(machine.steamCalls(), QStringList{u"-shutdown"_s});
}

void TestSteamProcess::shutdownWithoutTick()
{
    PretendMachine machine;
    machine.installSteam();
    machine.startStubbornSteamClient();
    QVERIFY(!steam::shutdownSteam(1, {}));
    QVERIFY(steam::isSteamRunning());
}

void TestSteamProcess::clientThatGoesWhileWaiting_data()
{
    QTest::addColumn<int>("goesAtTick");
    QTest::newRow("seen by the next look") << 1;
    QTest::newRow("seen by the last look, after the last wait") << 2;
}

void TestSteamProcess::clientThatGoesWhileWaiting()
{
    QFETCH(int, goesAtTick);
    PretendMachine machine;
    machine.installSteam();
    machine.startStubbornSteamClient();
    int ticks = 0;
    const bool gone = steam::shutdownSteam(1, [&] {
        if (++ticks == goesAtTick) {
            machine.killSteamClient();
            QTRY_VERIFY(!steam::isSteamRunning());
        }
    });
    QVERIFY(gone);
    QCOMPARE(ticks, goesAtTick);
}

void TestSteamProcess::shutdownWithoutTheCommand()
{
    PretendMachine machine;
    machine.installSteam();
    machine.startStubbornSteamClient();
    QVERIFY(QFile::remove(machine.root() + "/bin/steam"_L1));
    int ticks = 0;
    QVERIFY(!steam::shutdownSteam(1, [&ticks] { ++ticks; }));
    QCOMPARE(ticks, 2);
    machine.killSteamClient();
    QVERIFY(steam::shutdownSteam(1, {}));
}

void TestSteamProcess::shutdownWithACommandThatFails()
{
    PretendMachine machine;
    machine.installSteam();
    machine.startStubbornSteamClient();
    machine.addCommand(u"steam"_s, "#!/bin/sh\nexit 1\n");
    int ticks = 0;
    QVERIFY(!steam::shutdownSteam(1, [&ticks] { ++ticks; }));
    QCOMPARE(ticks, 2);
}

void TestSteamProcess::shutdownDoesNotWaitForTheCommand()
{
    PretendMachine machine;
    machine.installSteam();
    machine.addCommand(u"steam"_s, "#!/bin/sh\necho $$ > \"$HOME/command\"\nexec sleep 20\n");
    QElapsedTimer timer;
    timer.start();
    QVERIFY(steam::shutdownSteam(1, {}));
    QVERIFY(timer.elapsed() < 450);
    QTRY_VERIFY(machine.read(u"home/command"_s).endsWith('\n'));
    ::kill(machine.read(u"home/command"_s).trimmed().toInt(), SIGKILL);
}

void TestSteamProcess::startsTheClient()
{
    PretendMachine machine;
    machine.installSteam();
    machine.addSteamCommand();
    steam::startSteam();
    QTRY_VERIFY(steam::isSteamRunning());
    QCOMPARE(machine.steamCalls(), QStringList{u""_s}); // one call without arguments
}

void TestSteamProcess::startsNothingWithoutTheCommand()
{
    // Nothing else on the search path either, or a real client would be started.
    const PretendMachine machine;
    qputenv("PATH", QFile::encodeName(machine.root() + "/bin"_L1));
    steam::startSteam();
    QVERIFY(!steam::isSteamRunning());
}

void TestSteamProcess::clientOutlivesTheStarter()
{
    PretendMachine machine;
    machine.installSteam();
    machine.addCommand(u"steam"_s, "#!/bin/sh\n"
                                   "echo $$ > \"$HOME/.steam/steam.pid\"\n"
                                   "exec \"$HOME/sleeping-steam\" 60\n");
    QVERIFY(QFile::copy(u"/bin/sleep"_s, machine.home() + "/sleeping-steam"_L1));
    // This very executable, told to start the client and to exit.
    QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(), {u"--start-steam"_s}), 0);
    QTRY_VERIFY(steam::isSteamRunning());
    const QByteArray pid = pidOfClient(machine);
    QTest::qWait(100); // long enough for a signal on the starter's end to arrive
    const bool alive = steam::isSteamRunning();
    ::kill(pid.toInt(), SIGKILL);
    QVERIFY(alive);
}

void TestSteamProcess::clientHoldsNoFileOfTheStarter()
{
    PretendMachine machine;
    machine.installSteam();
    machine.addSteamCommand();
    machine.writeLocalConfig("x");
    QFile open(machine.localConfig());
    QVERIFY(open.open(QIODevice::ReadWrite));
    steam::startSteam();
    QTRY_VERIFY(steam::isSteamRunning());
    const QDir descriptors("/proc/"_L1 + QString::fromLatin1(pidOfClient(machine)) + "/fd"_L1);
    QStringList files;
    for (const QFileInfo &entry :
         descriptors.entryInfoList(QDir::Files | QDir::System | QDir::NoDotAndDotDot)) {
        if (entry.symLinkTarget().startsWith(machine.root()))
            files.append(entry.symLinkTarget());
    }
    QVERIFY(descriptors.exists());
    QCOMPARE(files, QStringList());
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    if (application.arguments().contains("--start-steam"_L1)) {
        steam::startSteam();
        return 0;
    }
    TestSteamProcess test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_steamprocess.moc"
