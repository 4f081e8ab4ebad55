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

namespace
{

/// Another program that writes to the file.
using Writer = void (*)(const ScratchFile &file);

void setTime(const QString &path, time_t seconds)
{
    const timespec times[] = {{seconds, 0}, {seconds, 0}};
    QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
}

} // namespace

Q_DECLARE_METATYPE(Writer)

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

    void aFailingCallFailsTheCommit_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::newRow("the old file's mode cannot be kept") << QByteArray("change the mode");
        QTest::newRow("the new file cannot be synced") << QByteArray("sync a file");
        QTest::newRow("it cannot be renamed") << QByteArray("rename");
    }
    void aFailingCallFailsTheCommit()
    {
        QFETCH(const QByteArray, call);
        const ScratchFile file("the old content");
        CallWatch watch;
        watch.fail(call, EIO);
        QCOMPARE(base::replaceFile(file.path(), "the new content"), Replaced::CannotReplace);
        QCOMPARE(file.read(), QByteArray("the old content"));
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void aHarmlessFailureStillReplacesTheFile_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<int>("error");
        QTest::addColumn<int>("times");
        QTest::newRow("a signal comes while the file is synced")
            << QByteArray("sync a file") << EINTR << 2;
        QTest::newRow("the folder cannot be synced") << QByteArray("sync a folder") << EIO << -1;
    }
    void aHarmlessFailureStillReplacesTheFile()
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

    void aCopyThatMayNotBeOnTheDiskIsRemoved_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::newRow("the original cannot be read") << QByteArray("read localconfig.vdf");
        QTest::newRow("the copy cannot be compared") << QByteArray("read the copy");
        QTest::newRow("its mode cannot be kept") << QByteArray("change the mode");
        QTest::newRow("it cannot be synced") << QByteArray("sync a file");
        QTest::newRow("its folder cannot be synced") << QByteArray("sync a folder");
    }
    void aCopyThatMayNotBeOnTheDiskIsRemoved()
    {
        QFETCH(const QByteArray, call);
        const ScratchFile file("original");
        CallWatch watch;
        watch.fail(call, EIO);
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

    void aChangeByAnotherProgramIsNotUndone_data()
    {
        QTest::addColumn<Writer>("write");
        QTest::addColumn<QByteArray>("left");
        const auto row = [](const char *name, Writer write, const char *left) {
            QTest::newRow(name) << write << QByteArray(left);
        };
        row(
            "another size",
            [](const ScratchFile &file) {
                file.write("theirs, longer");
                setTime(file.path(), 1);
            },
            "theirs, longer");
        row(
            "another time",
            [](const ScratchFile &file) {
                file.write("their text");
                setTime(file.path(), 2);
            },
            "their text");
        row(
            "another file",
            [](const ScratchFile &file) {
                const QString other = file.beside(u"other"_s);
                ScratchFile::writeTo(other, "their text");
                setTime(other, 1);
                QVERIFY(QFile::remove(file.path()));
                QVERIFY(QFile::rename(other, file.path()));
            },
            "their text");
        row(
            "none", [](const ScratchFile &file) { QVERIFY(QFile::remove(file.path())); },
            "(unreadable)");
    }
    void aChangeByAnotherProgramIsNotUndone()
    {
        QFETCH(const Writer, write);
        QFETCH(const QByteArray, left);
        const ScratchFile file("my old one");
        setTime(file.path(), 1);
        const std::optional<base::WholeFile> read = base::readWholeFile(file.path());
        CallWatch watch;
        watch.before("sync a file", [&] { write(file); });
        QCOMPARE(base::replaceFile(file.path(), "new", read->version), Replaced::CannotReplace);
        QCOMPARE(file.read(), left);
        QVERIFY(file.listing().size() <= 1);
    }
};

QTEST_GUILESS_MAIN(TestDurableFileCalls)
#include "test_durablefile_calls.moc"
