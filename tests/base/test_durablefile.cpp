// SPDX-License-Identifier: MIT
#include "base/durablefile.h"

#include "support/filesizelimit.h"
#include "support/firstdescriptorfree.h"
#include "support/scratchfile.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;
using base::Replaced;
using support::FileSizeLimit;
using support::ScratchFile;

class TestDurableFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsEveryByte_data();
    void readsEveryByte();
    void readsNothingWithoutAFile();
    void readsNothingFromAFolder();
    void readsNothingOfAnotherLengthThanTheFiles();

    void replacesTheContent_data();
    void replacesTheContent();
    void makesAFileThatIsNotThereYet();
    void keepsTheMode_data();
    void keepsTheMode();
    void keepsALink();
    void keepsALinkToALink();
    void keepsALinkFromAnotherFolder();
    void cannotOpenWithoutTheFolder();
    void cannotOpenAFolder();
    void cannotOpenWhatCannotBeLookedAt_data();
    void cannotOpenWhatCannotBeLookedAt();
    void aFullDiskFailsTheCommit_data();
    void aFullDiskFailsTheCommit();

    void copiesEveryByte_data();
    void copiesEveryByte();
    void neverCopiesOverAFile();
    void copiesNothingWithoutAFile();
    void copiesNoFolder();
    void leavesNoPartOfACopy();

    void syncsWhatIsThere();
    void cannotSyncWhatIsNotThere();
    void syncsWithTheFirstOfAllDescriptors();
    void keepsNoDescriptorOpen();
};

namespace
{

void addContents()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("one byte") << QByteArray("x");
    QTest::newRow("NUL bytes") << QByteArray("a\0b\0", 4);
    QTest::newRow("line ends of all kinds") << QByteArray("a\r\nb\nc\rd");
    QTest::newRow("byte-order mark") << QByteArray("\xef\xbb\xbf{}");
    QTest::newRow("no valid UTF-8") << QByteArray("\xff\xfe\xc3(\x80");
    QTest::newRow("16,384 bytes") << QByteArray(16384, 'x');
    QTest::newRow("16,385 bytes") << QByteArray(16385, 'y');
    QTest::newRow("3 MB") << QByteArray(3'000'000, 'z');
}

} // namespace

void TestDurableFile::readsEveryByte_data()
{
    addContents();
}

void TestDurableFile::readsEveryByte()
{
    QFETCH(QByteArray, content);
    const ScratchFile file(content);
    const std::optional<QByteArray> read = base::readWholeFile(file.path());
    QVERIFY(read.has_value());
    QVERIFY(*read == content);
}

void TestDurableFile::readsNothingWithoutAFile()
{
    const ScratchFile file("old");
    QVERIFY(!base::readWholeFile(file.beside(u"missing"_s)).has_value());
}

void TestDurableFile::readsNothingFromAFolder()
{
    const ScratchFile file("old");
    QVERIFY(!base::readWholeFile(file.folder()).has_value());
}

void TestDurableFile::readsNothingOfAnotherLengthThanTheFiles()
{
    // The kernel tells no length of these.
    QVERIFY(!base::readWholeFile(u"/proc/self/status"_s).has_value());
}

void TestDurableFile::replacesTheContent_data()
{
    addContents();
}

void TestDurableFile::replacesTheContent()
{
    QFETCH(QByteArray, content);
    const ScratchFile file("the old content");
    QCOMPARE(base::replaceFile(file.path(), content), Replaced::Yes);
    QVERIFY(file.read() == content);
    QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
}

void TestDurableFile::makesAFileThatIsNotThereYet()
{
    const ScratchFile file("old");
    QCOMPARE(base::replaceFile(file.beside(u"new"_s), "new"), Replaced::Yes);
    QCOMPARE(ScratchFile::readFrom(file.beside(u"new"_s)), QByteArray("new"));
    QCOMPARE(file.listing(), (QStringList{u"localconfig.vdf"_s, u"new"_s}));
}

void TestDurableFile::keepsTheMode_data()
{
    QTest::addColumn<int>("mode");
    QTest::newRow("0600") << 0600;
    QTest::newRow("0644") << 0644;
    QTest::newRow("0664") << 0664;
    QTest::newRow("0755") << 0755;
}

void TestDurableFile::keepsTheMode()
{
    QFETCH(int, mode);
    const ScratchFile file("old");
    ScratchFile::setMode(file.path(), static_cast<unsigned>(mode));
    QCOMPARE(base::replaceFile(file.path(), "new"), Replaced::Yes);
    QCOMPARE(ScratchFile::mode(file.path()), mode);
}

void TestDurableFile::keepsALink()
{
    const ScratchFile file("old");
    const QString link = file.beside(u"link"_s);
    QVERIFY(QFile::link(u"localconfig.vdf"_s, link));
    QCOMPARE(base::replaceFile(link, "new"), Replaced::Yes);
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(file.read(), QByteArray("new"));
    QCOMPARE(file.listing(), (QStringList{u"link"_s, u"localconfig.vdf"_s}));
}

void TestDurableFile::keepsALinkToALink()
{
    const ScratchFile file("old");
    const QString inner = file.beside(u"inner"_s);
    const QString outer = file.beside(u"outer"_s);
    QVERIFY(QFile::link(u"localconfig.vdf"_s, inner));
    QVERIFY(QFile::link(u"inner"_s, outer));
    QCOMPARE(base::replaceFile(outer, "new"), Replaced::Yes);
    QVERIFY(QFileInfo(outer).isSymLink());
    QVERIFY(QFileInfo(inner).isSymLink());
    QVERIFY(!QFileInfo(file.path()).isSymLink());
    QCOMPARE(file.read(), QByteArray("new"));
}

void TestDurableFile::keepsALinkFromAnotherFolder()
{
    const ScratchFile file("old");
    const ScratchFile other("");
    const QString link = other.beside(u"link"_s);
    QVERIFY(QFile::link(file.path(), link));
    QCOMPARE(base::replaceFile(link, "new"), Replaced::Yes);
    QVERIFY(QFileInfo(link).isSymLink());
    QCOMPARE(file.read(), QByteArray("new"));
    QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    QCOMPARE(other.listing(), (QStringList{u"link"_s, u"localconfig.vdf"_s}));
}

void TestDurableFile::cannotOpenWithoutTheFolder()
{
    const ScratchFile file("old");
    QCOMPARE(base::replaceFile(file.beside(u"missing/file"_s), "new"), Replaced::CannotOpen);
    QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
}

void TestDurableFile::cannotOpenAFolder()
{
    const ScratchFile file("old");
    QVERIFY(QDir(file.folder()).mkdir(u"sub"_s));
    QCOMPARE(base::replaceFile(file.beside(u"sub"_s), "new"), Replaced::CannotOpen);
    QVERIFY(QFileInfo(file.beside(u"sub"_s)).isDir());
    QCOMPARE(file.listing(), (QStringList{u"localconfig.vdf"_s, u"sub"_s}));
}

void TestDurableFile::cannotOpenWhatCannotBeLookedAt_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("a link to itself") << u"circle"_s;
    QTest::newRow("below a file") << u"localconfig.vdf/file"_s;
    QTest::newRow("a name that is too long") << QString(300, u'x');
}

void TestDurableFile::cannotOpenWhatCannotBeLookedAt()
{
    QFETCH(const QString, name);
    const ScratchFile file("old");
    QVERIFY(QFile::link(u"circle"_s, file.beside(u"circle"_s)));
    QCOMPARE(base::replaceFile(file.beside(name), "new"), Replaced::CannotOpen);
    QCOMPARE(file.read(), QByteArray("old"));
    QCOMPARE(file.listing(), (QStringList{u"circle"_s, u"localconfig.vdf"_s}));
}

void TestDurableFile::aFullDiskFailsTheCommit_data()
{
    QTest::addColumn<int>("room");
    QTest::addColumn<int>("size");
    QTest::newRow("no room at all") << 0 << 100;
    QTest::newRow("one byte short") << 99 << 100;
    QTest::newRow("one byte short of a full buffer") << 16383 << 16384;
    QTest::newRow("one byte more than a buffer") << 16384 << 16385;
    QTest::newRow("in the middle of much") << 1'000'000 << 3'000'000;
}

void TestDurableFile::aFullDiskFailsTheCommit()
{
    QFETCH(int, room);
    QFETCH(int, size);
    const ScratchFile file("the old content");
    Replaced result = Replaced::Yes;
    {
        const FileSizeLimit limit(static_cast<rlim_t>(room));
        result = base::replaceFile(file.path(), QByteArray(size, 'x'));
    }
    QCOMPARE(result, Replaced::CommitFailed);
    QCOMPARE(file.read(), QByteArray("the old content"));
    QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
}

void TestDurableFile::copiesEveryByte_data()
{
    addContents();
}

void TestDurableFile::copiesEveryByte()
{
    QFETCH(QByteArray, content);
    const ScratchFile file(content);
    QVERIFY(base::copyFile(file.path(), file.beside(u"the copy"_s)));
    QVERIFY(ScratchFile::readFrom(file.beside(u"the copy"_s)) == content);
    QVERIFY(file.read() == content);
    QCOMPARE(file.listing(), (QStringList{u"localconfig.vdf"_s, u"the copy"_s}));
}

void TestDurableFile::neverCopiesOverAFile()
{
    const ScratchFile file("original");
    ScratchFile::writeTo(file.beside(u"taken"_s), "someone's");
    QVERIFY(!base::copyFile(file.path(), file.beside(u"taken"_s)));
    QCOMPARE(ScratchFile::readFrom(file.beside(u"taken"_s)), QByteArray("someone's"));
}

void TestDurableFile::copiesNothingWithoutAFile()
{
    const ScratchFile file("original");
    QVERIFY(!base::copyFile(file.beside(u"missing"_s), file.beside(u"the copy"_s)));
    QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
}

void TestDurableFile::copiesNoFolder()
{
    const ScratchFile file("original");
    QVERIFY(QDir(file.folder()).mkdir(u"sub"_s));
    QVERIFY(!base::copyFile(file.beside(u"sub"_s), file.beside(u"the copy"_s)));
    QCOMPARE(file.listing(), (QStringList{u"localconfig.vdf"_s, u"sub"_s}));
}

void TestDurableFile::leavesNoPartOfACopy()
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

void TestDurableFile::syncsWhatIsThere()
{
    const ScratchFile file("content");
    QVERIFY(base::syncFileAndFolder(file.path()));
}

void TestDurableFile::cannotSyncWhatIsNotThere()
{
    const ScratchFile file("content");
    QVERIFY(!base::syncFileAndFolder(file.beside(u"missing"_s)));
}

void TestDurableFile::syncsWithTheFirstOfAllDescriptors()
{
    const ScratchFile file("content");
    const support::FirstDescriptorFree free;
    QVERIFY(base::syncFileAndFolder(file.path()));
}

void TestDurableFile::keepsNoDescriptorOpen()
{
    const ScratchFile file("content");
    const auto firstFree = [] {
        const int descriptor = ::dup(STDERR_FILENO);
        ::close(descriptor);
        return descriptor;
    };
    const int before = firstFree();
    QVERIFY(base::syncFileAndFolder(file.path()));
    QCOMPARE(firstFree(), before);
}

QTEST_GUILESS_MAIN(TestDurableFile)
#include "test_durablefile.moc"
