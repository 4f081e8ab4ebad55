// SPDX-License-Identifier: MIT
// Who may read a file after it was replaced or copied, and a new one: access lists as setfacl(1)
// and getfacl(1) see them, and modes.
#include "base/durablefile.h"

#include "support/callwatch.h"
#include "support/scratchfile.h"

#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;
using base::Replaced;
using support::CallWatch;
using support::ScratchFile;

namespace
{

QString run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished() || process.exitCode() != 0)
        qFatal("%s fails (package acl; the file system needs access lists): %s",
               qPrintable(program), process.readAllStandardError().constData());
    return QString::fromUtf8(process.readAllStandardOutput());
}

void giveList(const QString &path, const QString &list)
{
    run(u"setfacl"_s, {u"-m"_s, list, path});
}

/// One entry a line; empty for a file that has only its mode.
QString listOf(const QString &path)
{
    return run(u"getfacl"_s, {u"--skip-base"_s, u"-cpEn"_s, path});
}

/// Closed to the file's group, though the mode's group bits are rw: with a list they are the mask.
const QString closedToItsGroup = u"u::rw,u:7:rw,g::-,g:8:r,m::rw,o::-"_s;

/// A folder whose default list lets everybody write to new files.
const QString openFolder = u"d:u::rwx,d:u:7:rwx,d:g::rwx,d:m::rwx,d:o::rwx"_s;

class WithoutUmask
{
public:
    WithoutUmask() = default;
    ~WithoutUmask() { ::umask(before); }
    Q_DISABLE_COPY_MOVE(WithoutUmask)

private:
    mode_t before = ::umask(0);
};

} // namespace

class TestDurableFileAccess : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aReplacedFileKeepsItsAccessList()
    {
        const ScratchFile file("old");
        giveList(file.path(), closedToItsGroup);
        const QString list = listOf(file.path());
        QVERIFY2(list.contains("group::---\ngroup:8:r--\nmask::rw-"_L1), qPrintable(list));
        QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::Yes);
        QCOMPARE(listOf(file.path()), list);

        QVERIFY(QFile::link(file.path(), file.beside(u"link"_s)));
        QCOMPARE(base::replaceFile(file.beside(u"link"_s), "newer"), Replaced::Yes);
        QCOMPARE(listOf(file.path()), list);
    }

    void aCopyHasTheOriginalsAccessList()
    {
        const ScratchFile file("original");
        giveList(file.path(), closedToItsGroup);
        giveList(file.folder(), openFolder);
        QVERIFY(base::copyFile(file.path(), file.beside(u"copy"_s)));
        QCOMPARE(listOf(file.beside(u"copy"_s)), listOf(file.path()));
        QVERIFY(listOf(file.path()).contains("user:7:rw-"_L1));
    }

    void aFoldersDefaultListGivesNobodyAccess()
    {
        const ScratchFile file("old");
        ScratchFile::setMode(file.path(), 0640);
        giveList(file.folder(), openFolder);
        QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::Yes);
        QVERIFY(base::copyFile(file.path(), file.beside(u"copy"_s)));
        QCOMPARE(base::replaceFile(file.beside(u"made"_s), "made"), Replaced::Yes);
        for (const QString &name : {u"localconfig.vdf"_s, u"copy"_s, u"made"_s}) {
            QCOMPARE(listOf(file.beside(name)), QString());
            QCOMPARE(ScratchFile::mode(file.beside(name)), name == "made"_L1 ? 0600 : 0640);
        }
    }

    void aFileWhoseAccessListCannotBeKeptIsNotReplaced_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::newRow("reading it fails") << QByteArray("read the access list");
        QTest::newRow("setting it fails") << QByteArray("set the access list");
        QTest::newRow("dropping the folder's fails") << QByteArray("drop the access list");
    }
    void aFileWhoseAccessListCannotBeKeptIsNotReplaced()
    {
        QFETCH(const QByteArray, call);
        const ScratchFile file("old");
        giveList(file.path(), closedToItsGroup);
        CallWatch watch;
        watch.fail(call, EPERM);
        QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::CannotReplace);
        QVERIFY(!base::copyFile(file.path(), file.beside(u"copy"_s)));
        QCOMPARE(file.read(), QByteArray("old"));
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void filesAreReplacedOnDisksWithoutAccessLists_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<int>("error");
        QTest::newRow("they are not known") << QByteArray("read the access list") << ENOTSUP;
        QTest::newRow("the file has none") << QByteArray("read the access list") << ENODATA;
        QTest::newRow("dropping them is not known")
            << QByteArray("drop the access list") << ENOTSUP;
        QTest::newRow("there is none to drop") << QByteArray("drop the access list") << ENODATA;
    }
    void filesAreReplacedOnDisksWithoutAccessLists()
    {
        QFETCH(const QByteArray, call);
        QFETCH(const int, error);
        const ScratchFile file("old");
        ScratchFile::setMode(file.path(), 0604);
        CallWatch watch;
        watch.fail(call, error);
        QVERIFY(base::copyFile(file.path(), file.beside(u"copy"_s)));
        QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::Yes);
        QCOMPARE(file.read(), QByteArray("new"));
        QCOMPARE(ScratchFile::mode(file.path()), 0604);
        QCOMPARE(ScratchFile::mode(file.beside(u"copy"_s)), 0604);
    }

    void aNewFileIsForTheUserAlone()
    {
        const ScratchFile file("old");
        const WithoutUmask without;
        QCOMPARE(base::replaceFile(file.beside(u"made"_s), "made"), Replaced::Yes);
        QCOMPARE(ScratchFile::mode(file.beside(u"made"_s)), 0600);
    }
};

QTEST_GUILESS_MAIN(TestDurableFileAccess)
#include "test_durablefile_access.moc"
