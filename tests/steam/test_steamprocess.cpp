// SPDX-License-Identifier: MIT
// Seeing whether the client runs, and starting it.
#include "steam/steamprocess.h"

#include "support/pretendmachine.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using support::PretendMachine;

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
    void notRunningWithoutAPidFile()
    {
        const PretendMachine machine;
        QVERIFY(!steam::isSteamRunning());
    }

    void notRunningByThePidFile_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("empty") << QByteArray("");
        QTest::newRow("white space only") << QByteArray(" \n\t\n");
        QTest::newRow("process that does not exist") << QByteArray("999999999\n");
        QTest::newRow("no number") << QByteArray("client\n");
        QTest::newRow("negative") << QByteArray("-1\n");
        QTest::newRow("zero") << QByteArray("0\n");
        QTest::newRow("bytes that are no UTF-8") << QByteArray("\xff\xfe\n");
        QTest::newRow("a second line")
            << QByteArray::number(QCoreApplication::applicationPid()) + "\n1\n";
        // A kernel thread has no executable, whoever looks; others hide theirs from an ordinary
        // user.
        QTest::newRow("an executable that cannot be read") << QByteArray("2\n");
    }
    void notRunningByThePidFile()
    {
        QFETCH(QByteArray, text);
        const PretendMachine machine;
        writePid(machine, text);
        QVERIFY(!steam::isSteamRunning());
    }

    void notRunningByAFolder()
    {
        const PretendMachine machine;
        machine.write(u"home/.steam/steam.pid/x"_s, "");
        QVERIFY(!steam::isSteamRunning());
    }

    void runningClient()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.startSteamClient();
        QVERIFY(steam::isSteamRunning());
        QVERIFY(steam::isSteamRunning()); // looking changes nothing
        machine.killSteamClient();
        QTRY_VERIFY_WITH_TIMEOUT(!steam::isSteamRunning(), 30'000);
    }

    void whiteSpaceAroundThePid_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<QByteArray>("behind");
        QTest::newRow("none") << QByteArray("") << QByteArray("");
        QTest::newRow("line feed") << QByteArray("") << QByteArray("\n");
        QTest::newRow("CR LF") << QByteArray("") << QByteArray("\r\n");
        QTest::newRow("both ends") << QByteArray(" \t\n") << QByteArray(" \n\n");
    }
    void whiteSpaceAroundThePid()
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

    void executablePath_data()
    {
        QTest::addColumn<QString>("executable");
        QTest::addColumn<bool>("running");
        QTest::newRow("called steam") << u"here/steam"_s << true;
        QTest::newRow("steam in the name") << u"here/mysteamclient"_s << true;
        QTest::newRow("in a folder called steam") << u"steam/client"_s << true;
        QTest::newRow("Steam") << u"Steam/Steam"_s << false;
        QTest::newRow("another program, by chance after a reboot") << u"here/client"_s << false;
    }
    void executablePath()
    {
        QFETCH(QString, executable);
        QFETCH(bool, running);
        const PretendMachine machine;
        // Not in the machine's folder: its path holds the name of this test, which says "steam".
        const QTemporaryDir folder(QDir::tempPath() + "/clients-XXXXXX"_L1);
        const Running process(folder.filePath(executable));
        writePid(machine, process.pid() + '\n');
        QCOMPARE(steam::isSteamRunning(), running);
    }

    void aClientWhoseFileWasReplacedRuns()
    {
        const PretendMachine machine;
        const QTemporaryDir folder(QDir::tempPath() + "/clients-XXXXXX"_L1);
        const QString program = folder.filePath(u"steam"_s);
        const Running process(program);
        writePid(machine, process.pid());
        QVERIFY(QFile::remove(program)); // as an update does while Steam runs
        QVERIFY(steam::isSteamRunning());
    }

    void exitedButUnreapedClientIsGone()
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

    void startsTheClient()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addSteamCommand();
        steam::startSteam();
        QTRY_VERIFY_WITH_TIMEOUT(steam::isSteamRunning(), 30'000);
        QCOMPARE(machine.steamCalls(), QStringList{u""_s}); // one call without arguments
    }

    void startsNothingWithoutTheCommand()
    {
        // Nothing else on the search path either, or a real client would be started.
        const PretendMachine machine;
        qputenv("PATH", QFile::encodeName(machine.root() + "/bin"_L1));
        steam::startSteam();
        QVERIFY(!steam::isSteamRunning());
    }

    void clientOutlivesTheStarter()
    {
        // A client that says a word and answers once it is asked.
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

        // Asked only now, it cannot answer when the starter's end reached it by a signal or a lost
        // pipe.
        int question = -1;
        QTRY_VERIFY_WITH_TIMEOUT((question = ::open(pipe.constData(), O_WRONLY | O_NONBLOCK)) >= 0,
                                 30'000);
        const QByteArray line = "still there\n";
        const auto written = ::write(question, line.constData(), static_cast<size_t>(line.size()));
        ::close(question);
        QCOMPARE(written, line.size());
        QTRY_COMPARE_WITH_TIMEOUT(machine.read(u"home/answer"_s), line, 30'000);
    }

    void clientHoldsNoFileOfTheStarter()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addSteamCommand();
        machine.writeLocalConfig("x");
        QFile open(machine.localConfig());
        QVERIFY(open.open(QIODevice::ReadWrite));
        steam::startSteam();
        QTRY_VERIFY_WITH_TIMEOUT(steam::isSteamRunning(), 30'000);
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
