// SPDX-License-Identifier: MIT
// Edits that succeed, as pairs of files: golden/NAME/before.vdf, and after.vdf with the new options
// of the game 620.
#include "steam/localconfigfile.h"

#include "steam/keyvalues.h"
#include "support/callwatch.h"
#include "support/lockholder.h"
#include "support/scratchfile.h"

#include <QTest>

using namespace Qt::StringLiterals;
using support::ScratchFile;

namespace
{

QByteArray golden(const QString &name)
{
    return ScratchFile::readFrom(QStringLiteral(GOLDEN_FILES "/") + name);
}

} // namespace

class TestLaunchOptionsEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void edit_data()
    {
        QTest::addColumn<QString>("name");
        const QDir folder(QStringLiteral(GOLDEN_FILES));
        const QStringList pairs = folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        QVERIFY(!pairs.isEmpty());
        for (const QString &name : pairs)
            QTest::newRow(qPrintable(name)) << name;
    }
    void edit()
    {
        QFETCH(QString, name);
        const QByteArray after = golden(name + "/after.vdf"_L1);
        const QString options = steam::readLaunchOptions(after, u"620"_s);
        const ScratchFile file(golden(name + "/before.vdf"_L1));
        for (int time = 0; time < 2; ++time) { // the second changes nothing
            QString error;
            QVERIFY2(steam::setLaunchOptions(file.path(), u"620"_s, options, false, &error),
                     qPrintable(error));
            QCOMPARE(file.read(), after);
            QCOMPARE(file.listing(), QStringList{u"localconfig.vdf"_s});
        }
    }

    void editsInSuccessionSeeEachOther()
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

    void errorIsLeftAloneOnSuccess()
    {
        const ScratchFile file("\"apps\" { }");
        QString error = u"as before"_s;
        QVERIFY(steam::setLaunchOptions(file.path(), u"10"_s, u"a"_s, false, &error));
        QCOMPARE(error, u"as before"_s);
    }

    void noOtherWindowGetsATurnWhileTheFileIsReplaced()
    {
        const ScratchFile file("\"apps\" { }");
        bool isLocked = false;
        support::CallWatch watch;
        watch.before("rename", [&] { isLocked = !base::FolderLock(file.folder(), 0).isHeld(); });
        QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, nullptr));
        QVERIFY(isLocked);
        QVERIFY(base::FolderLock(file.folder(), 0).isHeld());
    }

    void aFileThatAnotherWindowReplacesIsLeftToIt()
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

    void aFileIsReplacedWhereFoldersCannotBeLocked()
    {
        const ScratchFile file("\"apps\" { }");
        support::CallWatch watch;
        watch.fail("lock", ENOLCK);
        QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, nullptr));
        QCOMPARE(steam::readLaunchOptions(file.read(), u"620"_s), u"new"_s);
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsEditor)
#include "test_launchoptionseditor.moc"
