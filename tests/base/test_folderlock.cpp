// SPDX-License-Identifier: MIT
#include "base/folderlock.h"

#include "support/callwatch.h"
#include "support/lockholder.h"
#include "support/scratchfile.h"
#include "support/withoutstandardinput.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;
using base::FolderLock;
using support::CallWatch;
using support::LockHolder;
using support::ScratchFile;

class TestFolderLock : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void onlyOneHasTheLockOfAFolder()
    {
        const ScratchFile file("content");
        const ScratchFile other("");
        {
            const FolderLock lock(file.folder(), 0);
            QVERIFY(lock.isHeld());
            QVERIFY(!lock.isBusy());
            QVERIFY(!FolderLock(file.folder(), 0).isHeld());
            QVERIFY(FolderLock(other.folder(), 0).isHeld());
            QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
        }
        QVERIFY(FolderLock(file.folder(), 0).isHeld());
    }

    void aLockIsWaitedForUntilItsProcessIsKilled()
    {
        const ScratchFile file("content");
        LockHolder holder(file.folder());
        QVERIFY(!FolderLock(file.folder(), 0).isHeld());
        CallWatch watch;
        watch.before("lock", [&] { // the first try fails
            watch.before("lock", [&] { holder.kill(); });
        });
        const FolderLock lock(file.folder(), 30'000);
        QVERIFY(lock.isHeld());
        QVERIFY(!lock.isBusy());
    }

    void aLockIsWaitedForNoLongerThanAskedFor()
    {
        const ScratchFile file("content");
        const LockHolder holder(file.folder());
        QElapsedTimer timer;
        timer.start();
        const FolderLock lock(file.folder(), 200);
        QVERIFY(!lock.isHeld());
        QVERIFY(lock.isBusy());
        QVERIFY(timer.elapsed() >= 200);
    }

    void aSignalDoesNotStopTheLocking()
    {
        const ScratchFile file("content");
        CallWatch watch;
        watch.fail("lock", EINTR, 2);
        QVERIFY(FolderLock(file.folder(), 60'000).isHeld());
    }

    void aFolderThatCannotBeLockedIsNotWaitedFor_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("error");
        QTest::newRow("a file system without locks") << u"."_s << ENOLCK;
        QTest::newRow("a folder that is missing") << u"missing"_s << 0;
        QTest::newRow("a file") << u"localconfig.vdf"_s << 0;
    }
    void aFolderThatCannotBeLockedIsNotWaitedFor()
    {
        QFETCH(const QString, name);
        QFETCH(const int, error);
        const ScratchFile file("content");
        CallWatch watch;
        if (error != 0)
            watch.fail("lock", error, 1); // a second try would get it
        const FolderLock lock(file.beside(name), 60'000);
        QVERIFY(!lock.isHeld());
        QVERIFY(!lock.isBusy());
    }

    void aFolderIsLockedWithoutAStandardInput()
    {
        const ScratchFile file("content");
        const support::WithoutStandardInput without;
        QVERIFY(FolderLock(file.folder(), 0).isHeld());
        QVERIFY(FolderLock(file.folder(), 0).isHeld()); // the first one is gone
    }
};

QTEST_GUILESS_MAIN(TestFolderLock)
#include "test_folderlock.moc"
