// SPDX-License-Identifier: MIT
// Edits that succeed, as pairs of files: golden/NAME/before.vdf and after.vdf.
#include "steam/launchoptionseditor.h"

#include "steam/keyvalues.h"
#include "support/callwatch.h"
#include "support/lockholder.h"
#include "support/scratchfile.h"

#include <QTest>

using namespace Qt::StringLiterals;
using support::ScratchFile;

class TestLaunchOptionsEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void edit_data();
    void edit();
    void aLoneOpeningBraceInANewBlock();
    void everyPairIsTested();
    void editsInSuccessionSeeEachOther();
    void errorIsLeftAloneOnSuccess();
    void noOtherWindowGetsATurnWhileTheFileIsReplaced();
    void aFileThatAnotherWindowReplacesIsLeftToIt();
    void aFileIsReplacedWhereFoldersCannotBeLocked();
};

namespace
{

QByteArray golden(const QString &name)
{
    return ScratchFile::readFrom(QStringLiteral(GOLDEN_FILES "/") + name);
}

} // namespace

void TestLaunchOptionsEditor::edit_data()
{
    QTest::addColumn<QString>("options"); // of the app 620
    const QString usual = u"MARROWPULSE=1 gamescope -W 2560 -H 1440 -- %command%"_s;
    QTest::newRow("replaces-the-value") << usual;
    QTest::newRow("empties-the-value") << u""_s;
    QTest::newRow("fills-an-empty-value") << usual;
    QTest::newRow("inserts-a-line") << usual;
    QTest::newRow("inserts-an-empty-line") << u""_s;
    QTest::newRow("inserts-a-line-indented-by-blanks") << usual;
    QTest::newRow("inserts-a-line-behind-blank-lines") << usual;
    QTest::newRow("inserts-a-line-into-a-nested-block") << usual;
    QTest::newRow("inserts-a-block") << usual;
    QTest::newRow("inserts-an-empty-block") << u""_s;
    QTest::newRow("inserts-a-block-into-an-empty-section") << usual;
    QTest::newRow("inserts-a-block-indented-as-the-first-app") << usual;
    QTest::newRow("inserts-a-block-where-blanks-indent") << usual;
    QTest::newRow("inserts-a-block-with-braces") << u"X={a} %command%"_s;
    QTest::newRow("inserts-a-block-though-the-id-stands-outside") << usual;
    QTest::newRow("replaces-every-value-of-the-block") << usual;
    QTest::newRow("keeps-the-space-between-key-and-value") << usual;
    QTest::newRow("leaves-the-id-outside-the-section") << usual;
    QTest::newRow("edits-the-largest-section") << usual;
    QTest::newRow("tells-6200-from-620") << usual;
    QTest::newRow("writes-beyond-ascii") << u"neu: Größe 🎮 Ω %command%"_s;
    QTest::newRow("writes-line-ends-and-tabs") << u"a\n\tb"_s;
    QTest::newRow("replaces-a-value-with-escapes") << usual;
    QTest::newRow("replaces-a-brace-by-a-brace") << u"B={y} %command%"_s;
    QTest::newRow("writes-the-same-value") << usual;
}

void TestLaunchOptionsEditor::edit()
{
    QFETCH(QString, options);
    const QString name = QString::fromLatin1(QTest::currentDataTag());
    const ScratchFile file(golden(name + "/before.vdf"_L1));
    QString error;
    QVERIFY2(steam::setLaunchOptions(file.path(), u"620"_s, options, false, &error),
             qPrintable(error));
    QCOMPARE(file.read(), golden(name + "/after.vdf"_L1));
    QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
    QCOMPARE(steam::readLaunchOptions(file.read(), u"620"_s), options);

    // Once more changes nothing.
    QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, options, false, nullptr));
    QCOMPARE(file.read(), golden(name + "/after.vdf"_L1));
}

void TestLaunchOptionsEditor::aLoneOpeningBraceInANewBlock()
{
    // It reads back and so is written. The block now seems to reach over the next one, so that the
    // same edit again would change that one too, and its braces.
    const QString name = u"inserts-a-block-with-a-lone-opening-brace"_s;
    const ScratchFile file(golden(name + "/before.vdf"_L1));
    QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"{ %command%"_s, false, nullptr));
    QCOMPARE(file.read(), golden(name + "/after.vdf"_L1));
    QString error;
    QVERIFY(!steam::setLaunchOptions(file.path(), u"620"_s, u"{ %command%"_s, false, &error));
    QCOMPARE(error, u"brace count changed; refusing to write"_s);
    QCOMPARE(file.read(), golden(name + "/after.vdf"_L1));
}

void TestLaunchOptionsEditor::everyPairIsTested()
{
    const QStringList pairs =
        QDir(QStringLiteral(GOLDEN_FILES)).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    QCOMPARE(pairs.size(), 26);
}

void TestLaunchOptionsEditor::editsInSuccessionSeeEachOther()
{
    const ScratchFile file("\"apps\"\n{\n}\n");
    QVERIFY(steam::setLaunchOptions(file.path(), u"10"_s, u"a"_s, false, nullptr));
    QVERIFY(steam::setLaunchOptions(file.path(), u"20"_s, u"b"_s, false, nullptr));
    QVERIFY(steam::setLaunchOptions(file.path(), u"10"_s, u"c"_s, false, nullptr));
    QCOMPARE(file.read(), QByteArray("\"apps\"\n"
                                     "{\n"
                                     "\t\t\t\t\t\"20\"\n"
                                     "\t\t\t\t\t{\n"
                                     "\t\t\t\t\t\t\"LaunchOptions\"\t\t\"b\"\n"
                                     "\t\t\t\t\t}\n"
                                     "\t\t\t\t\t\"10\"\n"
                                     "\t\t\t\t\t{\n"
                                     "\t\t\t\t\t\t\"LaunchOptions\"\t\t\"c\"\n"
                                     "\t\t\t\t\t}\n"
                                     "}\n"));
}

void TestLaunchOptionsEditor::errorIsLeftAloneOnSuccess()
{
    const ScratchFile file("\"apps\" { }");
    QString error = u"as before"_s;
    QVERIFY(steam::setLaunchOptions(file.path(), u"10"_s, u"a"_s, false, &error));
    QCOMPARE(error, u"as before"_s);
}

void TestLaunchOptionsEditor::noOtherWindowGetsATurnWhileTheFileIsReplaced()
{
    const ScratchFile file("\"apps\" { }");
    bool isLocked = false;
    support::CallWatch watch;
    watch.before("rename", [&] { isLocked = !base::FolderLock(file.folder(), 0).isHeld(); });
    QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, nullptr));
    QVERIFY(isLocked);
    QVERIFY(base::FolderLock(file.folder(), 0).isHeld());
}

void TestLaunchOptionsEditor::aFileThatAnotherWindowReplacesIsLeftToIt()
{
    const ScratchFile file("\"apps\" { }");
    support::LockHolder otherWindow(file.folder());
    QString error;
    QVERIFY(!steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, &error));
    QCOMPARE(error, "commit failed for "_L1 + file.path());
    QCOMPARE(file.read(), QByteArray("\"apps\" { }"));
    QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});

    otherWindow.kill();
    QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, &error));
}

void TestLaunchOptionsEditor::aFileIsReplacedWhereFoldersCannotBeLocked()
{
    const ScratchFile file("\"apps\" { }");
    support::CallWatch watch;
    watch.fail("lock", ENOLCK);
    QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, nullptr));
    QCOMPARE(steam::readLaunchOptions(file.read(), u"620"_s), u"new"_s);
}

QTEST_GUILESS_MAIN(TestLaunchOptionsEditor)
#include "test_launchoptionseditor.moc"
