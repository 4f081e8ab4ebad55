// SPDX-License-Identifier: MIT
#include "base/folderlock.h"

#include "support/callwatch.h"
#include "support/scratchfile.h"
#include "support/withoutstandardinput.h"

#include <QElapsedTimer>
#include <QTest>

#include <csignal>
#include <sys/wait.h>

using namespace Qt::StringLiterals;
using base::FolderLock;
using support::CallWatch;
using support::ScratchFile;

namespace
{

/// A second process that holds the lock from the constructor's end on: for `heldMs`, or until it is
/// killed.
class Holder
{
public:
    Holder(const QString &folder, int heldMs)
    {
        int ends[2] = {};
        if (::pipe(ends) != 0)
            qFatal("no pipe");
        process = ::fork();
        if (process == 0) {
            const FolderLock lock(folder, 0);
            const char answer = lock.isHeld() ? 'y' : 'n';
            if (::write(ends[1], &answer, 1) == 1)
                QTest::qSleep(heldMs);
            ::_exit(0);
        }
        char answer = 0;
        if (::read(ends[0], &answer, 1) != 1 || answer != 'y')
            qFatal("the other process has no lock");
        ::close(ends[0]);
        ::close(ends[1]);
    }
    ~Holder() { kill(); }
    Q_DISABLE_COPY_MOVE(Holder)

    void kill()
    {
        if (process <= 0)
            return;
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
        process = -1;
    }

private:
    pid_t process = -1;
};

constexpr int untilKilled = 60'000;

} // namespace

class TestFolderLock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oneHasIt()
    {
        const ScratchFile file("content");
        {
            const FolderLock lock(file.folder(), 0);
            QVERIFY(lock.isHeld());
            QVERIFY(!FolderLock(file.folder(), 0).isHeld());
            QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
        }
        QVERIFY(FolderLock(file.folder(), 0).isHeld());
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void foldersHaveTheirOwn()
    {
        const ScratchFile one("");
        const ScratchFile other("");
        const FolderLock lock(one.folder(), 0);
        QVERIFY(FolderLock(other.folder(), 0).isHeld());
    }

    void itIsWaitedFor()
    {
        const ScratchFile file("content");
        const Holder holder(file.folder(), 100);
        QVERIFY(!FolderLock(file.folder(), 0).isHeld());
        QElapsedTimer timer;
        timer.start();
        QVERIFY(FolderLock(file.folder(), 30'000).isHeld());
        QVERIFY2(timer.elapsed() < 10'000, qPrintable(QString::number(timer.elapsed())));
    }

    void itIsWaitedForNoLonger()
    {
        const ScratchFile file("content");
        const Holder holder(file.folder(), untilKilled);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!FolderLock(file.folder(), 200).isHeld());
        QVERIFY(timer.elapsed() >= 200);
        QVERIFY2(timer.elapsed() < 5'000, qPrintable(QString::number(timer.elapsed())));
    }

    void aKilledProcessLeavesNothing()
    {
        const ScratchFile file("content");
        Holder holder(file.folder(), untilKilled);
        QVERIFY(!FolderLock(file.folder(), 0).isHeld());
        holder.kill();
        QVERIFY(FolderLock(file.folder(), 0).isHeld());
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void aSignalIsNoFailure()
    {
        const ScratchFile file("content");
        CallWatch watch;
        watch.fail("lock", EINTR, 2);
        QVERIFY(FolderLock(file.folder(), 5'000).isHeld());
    }

    void whatCannotBeLockedIsNotWaitedFor_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("error");
        QTest::newRow("no locks there") << u"."_s << ENOLCK;
        QTest::newRow("no such folder") << u"missing"_s << 0;
        QTest::newRow("a file") << u"localconfig.vdf"_s << 0;
    }
    void whatCannotBeLockedIsNotWaitedFor()
    {
        QFETCH(const QString, name);
        QFETCH(const int, error);
        const ScratchFile file("content");
        CallWatch watch;
        if (error != 0)
            watch.fail("lock", error);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(!FolderLock(file.beside(name), 60'000).isHeld());
        QVERIFY2(timer.elapsed() < 30'000, qPrintable(QString::number(timer.elapsed())));
    }

    void locksWithoutAStandardInput()
    {
        const ScratchFile file("content");
        {
            const support::WithoutStandardInput without;
            QVERIFY(FolderLock(file.folder(), 0).isHeld());
        }
        QVERIFY(FolderLock(file.folder(), 0).isHeld());
    }
};

QTEST_GUILESS_MAIN(TestFolderLock)
#include "test_folderlock.moc"
