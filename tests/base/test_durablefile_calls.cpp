// SPDX-License-Identifier: MIT
// The calls that bring a file to the disk, and what happens when one of them fails.
#include "base/durablefile.h"

#include "support/callwatch.h"
#include "support/scratchfile.h"

#include <QTest>

using namespace Qt::StringLiterals;
using base::Replaced;
using support::CallWatch;
using support::ScratchFile;

class TestDurableFileCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isOnTheDiskBeforeItTakesTheOldFilesPlace();
    void aFailingCallFailsTheCommit_data();
    void aFailingCallFailsTheCommit();
    void aCallThatFailsWithoutHarm_data();
    void aCallThatFailsWithoutHarm();
    void leavesNoCopyThatIsNotOnTheDisk();
    void syncsTheFileAndItsFolder();
    void oneFailingSyncIsAFailure_data();
    void oneFailingSyncIsAFailure();
};

void TestDurableFileCalls::isOnTheDiskBeforeItTakesTheOldFilesPlace()
{
    const ScratchFile file("old");
    const CallWatch watch;
    QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::Yes);
    QCOMPARE(watch.order(), (QByteArrayList{"sync a file", "rename", "sync a folder"}));
}

void TestDurableFileCalls::aFailingCallFailsTheCommit_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::newRow("the old file's mode cannot be kept") << QByteArray("change the mode");
    QTest::newRow("the new file cannot be synced") << QByteArray("sync a file");
    QTest::newRow("it cannot be renamed") << QByteArray("rename");
}

void TestDurableFileCalls::aFailingCallFailsTheCommit()
{
    QFETCH(const QByteArray, call);
    const ScratchFile file("the old content");
    CallWatch watch;
    watch.fail(call, EIO);
    QCOMPARE(base::replaceFile(file.path(), "the new content"), Replaced::CommitFailed);
    QCOMPARE(file.read(), QByteArray("the old content"));
    QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
}

void TestDurableFileCalls::aCallThatFailsWithoutHarm_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::addColumn<int>("error");
    QTest::addColumn<int>("times");
    QTest::newRow("a signal comes while the file is synced")
        << QByteArray("sync a file") << EINTR << 2;
    QTest::newRow("the folder cannot be synced") << QByteArray("sync a folder") << EIO << -1;
}

void TestDurableFileCalls::aCallThatFailsWithoutHarm()
{
    QFETCH(const QByteArray, call);
    QFETCH(const int, error);
    QFETCH(const int, times);
    const ScratchFile file("old");
    CallWatch watch;
    watch.fail(call, error, times);
    QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::Yes);
    QCOMPARE(file.read(), QByteArray("new"));
}

void TestDurableFileCalls::leavesNoCopyThatIsNotOnTheDisk()
{
    const ScratchFile file("original");
    CallWatch watch;
    watch.fail("sync a folder", EIO);
    QVERIFY(!base::copyFile(file.path(), file.beside(u"the copy"_s)));
    QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
}

void TestDurableFileCalls::syncsTheFileAndItsFolder()
{
    const ScratchFile file("content");
    const CallWatch watch;
    QVERIFY(base::syncFileAndFolder(file.path()));
    QCOMPARE(watch.order(), (QByteArrayList{"sync a file", "sync a folder"}));
}

void TestDurableFileCalls::oneFailingSyncIsAFailure_data()
{
    QTest::addColumn<QByteArray>("call");
    QTest::newRow("the file's") << QByteArray("sync a file");
    QTest::newRow("the folder's") << QByteArray("sync a folder");
}

void TestDurableFileCalls::oneFailingSyncIsAFailure()
{
    QFETCH(const QByteArray, call);
    const ScratchFile file("content");
    CallWatch watch;
    watch.fail(call, EIO);
    QVERIFY(!base::syncFileAndFolder(file.path()));
}

QTEST_GUILESS_MAIN(TestDurableFileCalls)
#include "test_durablefile_calls.moc"
