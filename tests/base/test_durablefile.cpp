// SPDX-License-Identifier: MIT
#include "base/durablefile.h"

#include "filecontents.h"
#include "support/filesizelimit.h"
#include "support/scratchfile.h"
#include "support/withoutstandardinput.h"

#include <QFileInfo>
#include <QTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using base::Replaced;
using support::FileSizeLimit;
using support::ScratchFile;

namespace
{

constexpr uid_t rootId = 0;

/// For root an owner and a group of other people, for anyone else his own.
uid_t otherOwner()
{
    return ::geteuid() == rootId ? 65534 : ::geteuid();
}
gid_t otherGroup()
{
    return ::geteuid() == rootId ? 65533 : ::getegid();
}

/// A mode that no file has by default. A change of the owner drops its first bit; so does writing
/// by anyone but root.
mode_t otherMode()
{
    return ::geteuid() == rootId ? 04750 : 0750;
}

struct stat look(const QString &path)
{
    struct stat status = {};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0)
        qFatal("cannot look at %s", qPrintable(path));
    return status;
}

/// Gives the file another owner, where that is possible, and another mode.
void giveAway(const QString &path)
{
    if (::chown(QFile::encodeName(path).constData(), otherOwner(), otherGroup()) != 0)
        qFatal("cannot give %s away", qPrintable(path));
    ScratchFile::setMode(path, otherMode());
}

} // namespace

class TestDurableFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyByteIsReplaced_data() { addContents(); }
    void everyByteIsReplaced()
    {
        QFETCH(QByteArray, content);
        const ScratchFile file("the old content");
        QCOMPARE(base::replaceFile(file.path(), content), Replaced::Yes);
        QVERIFY(file.read() == content);
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void aMissingFileIsMade()
    {
        const ScratchFile file("old");
        QCOMPARE(base::replaceFile(file.beside(u"new"_s), "new"), Replaced::Yes);
        QCOMPARE(ScratchFile::readFrom(file.beside(u"new"_s)), QByteArray("new"));
        QCOMPARE(file.listing(), (QStringList{u"localconfig.vdf"_s, u"new"_s}));
    }

    void ownerGroupAndModeStay()
    {
        const ScratchFile file("old");
        giveAway(file.path());
        QVERIFY(base::copyFile(file.path(), file.beside(u"the copy"_s)));
        QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::Yes);
        for (const QString &path : {file.path(), file.beside(u"the copy"_s)}) {
            const struct stat now = look(path);
            QCOMPARE(now.st_uid, otherOwner());
            QCOMPARE(now.st_gid, otherGroup());
            QCOMPARE(now.st_mode & 07777, otherMode());
        }
    }

    void aLinkStaysALink_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<bool>("leadsToAFile"); // else to a missing one, which is made
        for (const bool leadsToAFile : {true, false}) {
            const auto row = [leadsToAFile](const char *name, const QString &link) {
                QTest::addRow("%s, %s", name, leadsToAFile ? "to a file" : "to nothing yet")
                    << link << leadsToAFile;
            };
            row("a link to a link to a link", u"outmost"_s);
            row("a link in another folder", u"sub/link"_s);
            row("a link with an absolute path", u"absolute"_s);
            row("a link in a linked folder", u"linked/link"_s);
        }
    }
    void aLinkStaysALink()
    {
        QFETCH(const QString, link);
        QFETCH(const bool, leadsToAFile);
        const ScratchFile file("old");
        if (!leadsToAFile)
            QVERIFY(QFile::remove(file.path()));
        QVERIFY(QDir(file.folder()).mkdir(u"sub"_s));
        QVERIFY(QFile::link(u"localconfig.vdf"_s, file.beside(u"link"_s)));
        QVERIFY(QFile::link(u"link"_s, file.beside(u"outer"_s)));
        QVERIFY(QFile::link(u"outer"_s, file.beside(u"outmost"_s)));
        QVERIFY(QFile::link(u"../localconfig.vdf"_s, file.beside(u"sub/link"_s)));
        QVERIFY(QFile::link(file.path(), file.beside(u"absolute"_s)));
        QVERIFY(QFile::link(u"sub"_s, file.beside(u"linked"_s)));
        QCOMPARE(base::replaceFile(file.beside(link), "new"), Replaced::Yes);
        for (const QString &name :
             {u"link"_s, u"outer"_s, u"outmost"_s, u"sub/link"_s, u"absolute"_s, u"linked"_s})
            QVERIFY2(QFileInfo(file.beside(name)).isSymLink(), qPrintable(name));
        QVERIFY(!QFileInfo(file.path()).isSymLink());
        QCOMPARE(file.read(), QByteArray("new"));
        QCOMPARE(file.listing(),
                 (QStringList{u"absolute"_s, u"link"_s, u"linked"_s, u"localconfig.vdf"_s,
                              u"outer"_s, u"outmost"_s, u"sub"_s}));
    }

    void aPathThatNoFileCanHave_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("a folder") << u"sub"_s;
        QTest::newRow("in a missing folder") << u"missing/file"_s;
        QTest::newRow("a link into a missing folder") << u"link"_s;
        QTest::newRow("a link to itself") << u"circle"_s;
        QTest::newRow("below a file") << u"localconfig.vdf/file"_s;
        QTest::newRow("a name that is too long") << QString(300, u'x');
    }
    void aPathThatNoFileCanHave()
    {
        QFETCH(const QString, name);
        const ScratchFile file("old");
        QVERIFY(QDir(file.folder()).mkdir(u"sub"_s));
        QVERIFY(QFile::link(u"missing/file"_s, file.beside(u"link"_s)));
        QVERIFY(QFile::link(u"circle"_s, file.beside(u"circle"_s)));
        const QStringList before = file.listing();
        QCOMPARE(base::replaceFile(file.beside(name), "new"), Replaced::CannotOpen);
        QCOMPARE(file.read(), QByteArray("old"));
        QVERIFY(QFileInfo(file.beside(u"sub"_s)).isDir());
        QVERIFY(QFileInfo(file.beside(u"link"_s)).isSymLink());
        QCOMPARE(file.listing(), before);
    }

    void theExpectedVersionIsReplaced()
    {
        const ScratchFile file("old");
        QVERIFY(QFile::link(u"localconfig.vdf"_s, file.beside(u"link"_s)));
        for (const QString &path : {file.path(), file.beside(u"link"_s)}) {
            QCOMPARE(base::replaceFile(path, "new", base::fileVersion(path)), Replaced::Yes);
            QCOMPARE(file.read(), QByteArray("new"));
        }
    }

    void aFullDiskLeavesTheOldFile_data()
    {
        QTest::addColumn<int>("room");
        QTest::addColumn<int>("size");
        QTest::newRow("no room at all") << 0 << 100;
        QTest::newRow("one byte short") << 99 << 100;
        QTest::newRow("one byte short of a full buffer") << 16383 << 16384;
        QTest::newRow("one byte more than a buffer") << 16384 << 16385;
        QTest::newRow("in the middle of much") << 1'000'000 << 3'000'000;
    }
    void aFullDiskLeavesTheOldFile()
    {
        QFETCH(int, room);
        QFETCH(int, size);
        const ScratchFile file("the old content");
        Replaced result = Replaced::Yes;
        {
            const FileSizeLimit limit(static_cast<rlim_t>(room));
            result = base::replaceFile(file.path(), QByteArray(size, 'x'));
        }
        QCOMPARE(result, Replaced::CannotReplace);
        QCOMPARE(file.read(), QByteArray("the old content"));
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void everyByteIsCopied_data() { addContents(); }
    void everyByteIsCopied()
    {
        QFETCH(QByteArray, content);
        const ScratchFile file(content);
        QVERIFY(base::copyFile(file.path(), file.beside(u"the copy"_s)));
        QVERIFY(ScratchFile::readFrom(file.beside(u"the copy"_s)) == content);
        QVERIFY(file.read() == content);
        QCOMPARE(file.listing(), (QStringList{u"localconfig.vdf"_s, u"the copy"_s}));
    }

    void nothingIsCopied_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::newRow("of a missing file") << u"missing"_s << u"the copy"_s;
        QTest::newRow("of a folder") << u"sub"_s << u"the copy"_s;
        QTest::newRow("over another file") << u"localconfig.vdf"_s << u"taken"_s;
    }
    void nothingIsCopied()
    {
        QFETCH(const QString, from);
        QFETCH(const QString, to);
        const ScratchFile file("original");
        ScratchFile::writeTo(file.beside(u"taken"_s), "someone's");
        QVERIFY(QDir(file.folder()).mkdir(u"sub"_s));
        const QStringList before = file.listing();
        QVERIFY(!base::copyFile(file.beside(from), file.beside(to)));
        QCOMPARE(ScratchFile::readFrom(file.beside(u"taken"_s)), QByteArray("someone's"));
        QCOMPARE(file.listing(), before);
    }

    void aFullDiskLeavesNoPartOfACopy()
    {
        const ScratchFile file(QByteArray(200'000, 'x'));
        bool copied = true;
        {
            const FileSizeLimit limit(150'000);
            copied = base::copyFile(file.path(), file.beside(u"the copy"_s));
        }
        QVERIFY(!copied);
        QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    }

    void filesAreReplacedAndCopiedWithoutAStandardInput()
    {
        const ScratchFile file("content");
        const support::WithoutStandardInput without;
        QVERIFY(base::copyFile(file.path(), file.beside(u"the copy"_s)));
        QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::Yes);
        QCOMPARE(file.read(), QByteArray("new"));
    }

    void noDescriptorStaysOpen()
    {
        const ScratchFile file("content");
        const int before = nextDescriptor();
        QVERIFY(base::copyFile(file.path(), file.beside(u"the copy"_s)));
        QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::Yes);
        QCOMPARE(nextDescriptor(), before);
    }
};

QTEST_GUILESS_MAIN(TestDurableFile)
#include "test_durablefile.moc"
