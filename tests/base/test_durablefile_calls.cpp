// SPDX-License-Identifier: MIT
// The system calls that bring a file to the disk: their order, and what is left if one fails.
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
    void theNewFileIsSyncedBeforeItReplacesTheOldOne()
    {
        const ScratchFile file("old");
        const CallWatch watch;
        QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::Yes);
        QCOMPARE(watch.order(), (QByteArrayList{"sync a file", "rename", "sync a folder"}));
    }

    void aCallThatFailsLeavesTheOldFile_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::newRow("keeping the mode") << QByteArray("change the mode");
        QTest::newRow("syncing the new file") << QByteArray("sync a file");
        QTest::newRow("renaming it") << QByteArray("rename");
    }
    void aCallThatFailsLeavesTheOldFile()
    {
        QFETCH(const QByteArray, call);
        const ScratchFile file("the old content");
        CallWatch watch;
        watch.fail(call, EIO);
        QCOMPARE(base::replaceFile(file.path(), "the new content"), Replaced::CannotReplace);
        QCOMPARE(file.read(), QByteArray("the old content"));
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void aHarmlessFailureDoesNotStopTheReplacing_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<int>("error");
        QTest::addColumn<int>("times");
        QTest::newRow("a signal comes while the file is synced")
            << QByteArray("sync a file") << EINTR << 2;
        QTest::newRow("the folder cannot be synced") << QByteArray("sync a folder") << EIO << -1;
    }
    void aHarmlessFailureDoesNotStopTheReplacing()
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

    void aCallThatFailsLeavesNoCopy_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::newRow("reading the original") << QByteArray("read localconfig.vdf");
        QTest::newRow("keeping the mode") << QByteArray("change the mode");
        QTest::newRow("syncing the copy") << QByteArray("sync a file");
        QTest::newRow("syncing its folder") << QByteArray("sync a folder");
    }
    void aCallThatFailsLeavesNoCopy()
    {
        QFETCH(const QByteArray, call);
        const ScratchFile file("original");
        CallWatch watch;
        watch.fail(call, EIO);
        QVERIFY(!base::copyFile(file.path(), file.beside(u"the copy"_s)));
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void anOriginalThatChangesMeanwhileHasNoCopy()
    {
        const ScratchFile file("original");
        CallWatch watch;
        watch.before("sync a file", [&file] { file.write("0riginal"); });
        QVERIFY(!base::copyFile(file.path(), file.beside(u"the copy"_s)));
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void aCopyIsSynced()
    {
        const ScratchFile file("original");
        const CallWatch watch;
        QVERIFY(base::copyFile(file.path(), file.beside(u"the copy"_s)));
        QCOMPARE(watch.order().last(2), (QByteArrayList{"sync a file", "sync a folder"}));
    }

    void rootReplacesNothingWhenItCannotKeepTheOwner()
    {
        const ScratchFile file("old");
        const bool isRoot = ::geteuid() == 0;
        CallWatch watch;
        watch.fail("change the owner", EPERM);
        QCOMPARE(base::copyFile(file.path(), file.beside(u"the copy"_s)), !isRoot);
        QCOMPARE(QFile::exists(file.beside(u"the copy"_s)), !isRoot);
        QCOMPARE(base::replaceFile(file.path(), "new"),
                 isRoot ? Replaced::CannotReplace : Replaced::Yes);
        QCOMPARE(file.read(), QByteArray(isRoot ? "old" : "new"));
    }

    /// test_files has all the ways in which two versions of a file differ.
    void aChangeByAnotherProgramIsNotUndone()
    {
        const ScratchFile file("old");
        const std::optional<base::FileVersion> read = base::fileVersion(file.path());
        {
            CallWatch watch;
            watch.before("sync a file", [&file] { file.write("theirs"); });
            QCOMPARE(base::replaceFile(file.path(), "new", read), Replaced::CannotReplace);
        }
        QCOMPARE(file.read(), QByteArray("theirs"));
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});

        QVERIFY(QFile::remove(file.path()));
        QCOMPARE(base::replaceFile(file.path(), "new", read), Replaced::CannotReplace);
        QCOMPARE(file.listing(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestDurableFileCalls)
#include "test_durablefile_calls.moc"
