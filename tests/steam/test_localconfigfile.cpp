// SPDX-License-Identifier: MIT
// Reading, backing up and replacing Steam's file, and an edit of one game in it.
#include "steam/localconfigfile.h"

#include "steam/keyvalues.h"
#include "support/callwatch.h"
#include "support/filesizelimit.h"
#include "support/lockholder.h"
#include "support/scratchfile.h"

#include <QDateTime>
#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;
using support::ScratchFile;

namespace
{

const QByteArray oldText = "\"apps\" { \"620\" { \"LaunchOptions\" \"old\" } }";
const QByteArray newText = "\"apps\" { \"620\" { \"LaunchOptions\" \"new\" } }";
const QStringList fileAlone{u"localconfig.vdf"_s};
const QString infix = u"localconfig.vdf.bak-marrow-"_s;

/// Gives the game 620 the options "new".
bool edit(const QString &path, bool makeBackup = false, QString *error = nullptr)
{
    return steam::setLaunchOptions(path, u"620"_s, u"new"_s, makeBackup, error);
}

/// True if the folder holds the file and one backup of the text, and nothing else.
bool hasOneBackup(const ScratchFile &file, const QByteArray &text)
{
    const QStringList files = file.listing();
    return files.size() == 2 && files[1].startsWith(infix) &&
           ScratchFile::readFrom(file.beside(files[1])) == text;
}

/// While it lives, a process of root's is one of nobody's: root passes every check of modes.
class OrdinaryUser
{
public:
    OrdinaryUser()
    {
        if (root && ::setresuid(nobody, nobody, 0) != 0)
            qFatal("cannot become an ordinary user");
    }
    ~OrdinaryUser()
    {
        if (root && ::setresuid(0, 0, 0) != 0)
            qFatal("cannot become root again");
    }
    Q_DISABLE_COPY_MOVE(OrdinaryUser)

private:
    static constexpr uid_t nobody = 65534;
    const bool root = ::geteuid() == 0;
};

} // namespace

class TestLocalConfigFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anEditReplacesTheFile()
    {
        const ScratchFile file(oldText);
        QString error = u"as before"_s;
        QVERIFY(edit(file.path(), false, &error));
        QCOMPARE(error, u"as before"_s);
        QCOMPARE(file.read(), newText);
        QCOMPARE(file.listing(), fileAlone);
        QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"old"_s, false, nullptr));
        QCOMPARE(file.read(), oldText);
    }

    void anEditWithABackupKeepsTheOldText()
    {
        const ScratchFile file(oldText);
        QVERIFY(edit(file.path(), true));
        QCOMPARE(file.read(), newText);
        QVERIFY(hasOneBackup(file, oldText));
    }

    void aRefusedEditTouchesNothing()
    {
        const ScratchFile file("\"apps\" { \"620\" { } }");
        QString error;
        QVERIFY(!edit(file.path(), true, &error));
        QCOMPARE(error, u"cannot determine indentation for 620"_s);
        QVERIFY(!edit(file.path(), true, nullptr));
        QCOMPARE(file.read(), QByteArray("\"apps\" { \"620\" { } }"));
        QCOMPARE(file.listing(), fileAlone);
    }

    void charactersAreRefusedBeforeTheFileIsOpened()
    {
        QString error;
        QVERIFY(!steam::setLaunchOptions(u"/nowhere/localconfig.vdf"_s, u"620"_s, u"a\"b"_s, true,
                                         &error));
        QCOMPARE(error, u"options contain characters VDF cannot store unescaped"_s);
    }

    void aFileThatCannotBeRead()
    {
        const ScratchFile file(oldText);
        ScratchFile::setMode(file.path(), 0200);
        ScratchFile::setMode(file.folder(), 0777);
        for (const QString &path : {file.path(), file.beside(u"missing"_s)}) {
            QString error;
            bool isEdited = true;
            {
                const OrdinaryUser user;
                isEdited = edit(path, true, &error);
            }
            QVERIFY(!isEdited);
            QCOMPARE(error, "cannot open "_L1 + path);
        }
        QCOMPARE(file.listing(), fileAlone);
    }

    void aFileThatCannotBeReplaced_data()
    {
        QTest::addColumn<int>("folderMode");
        QTest::addColumn<int>("fileMode");
        QTest::addColumn<bool>("makeBackup");
        QTest::addColumn<QString>("message"); // before the path
        QTest::newRow("a read-only folder") << 0555 << 0666 << false << u"cannot write "_s;
        QTest::newRow("a read-only file") << 0777 << 0444 << false << u"cannot write "_s;
        QTest::newRow("the backup is tried first")
            << 0555 << 0666 << true << u"could not write backup for "_s;
    }
    void aFileThatCannotBeReplaced()
    {
        QFETCH(int, folderMode);
        QFETCH(int, fileMode);
        QFETCH(bool, makeBackup);
        QFETCH(QString, message);
        const ScratchFile file(oldText);
        ScratchFile::setMode(file.path(), static_cast<unsigned>(fileMode));
        ScratchFile::setMode(file.folder(), static_cast<unsigned>(folderMode));
        QString error;
        bool done = true;
        {
            const OrdinaryUser user;
            done = edit(file.path(), makeBackup, &error);
        }
        ScratchFile::setMode(file.folder(), 0700);
        QVERIFY(!done);
        QCOMPARE(error, message + file.path());
        QCOMPARE(file.read(), oldText);
        QCOMPARE(file.listing(), fileAlone);
    }

    void aFullDiskFailsTheEditAndLeavesTheBackup()
    {
        const ScratchFile file(oldText);
        QString error;
        bool done = true;
        {
            const support::FileSizeLimit limit(static_cast<rlim_t>(oldText.size()));
            done = steam::setLaunchOptions(file.path(), u"620"_s, u"longer"_s, true, &error);
        }
        QVERIFY(!done);
        QCOMPARE(error, "commit failed for "_L1 + file.path());
        QCOMPARE(file.read(), oldText);
        QVERIFY(hasOneBackup(file, oldText));
    }

    void aFileThatWasWrittenSinceItWasReadStays()
    {
        const ScratchFile file(oldText);
        const auto read = base::fileVersion(file.path());
        QVERIFY(read.has_value());
        file.write("somebody's");
        QCOMPARE(steam::replaceLocalConfig(file.path(), newText, *read),
                 "commit failed for "_L1 + file.path());
        QCOMPARE(file.read(), QByteArray("somebody's"));
    }

    void anEditKeepsLinkAndMode()
    {
        const ScratchFile file(oldText);
        ScratchFile::setMode(file.path(), 0640);
        const ScratchFile other("");
        const QString link = other.beside(u"link.vdf"_s);
        QVERIFY(QFile::link(file.path(), link));
        QVERIFY(edit(link));
        QVERIFY(QFileInfo(link).isSymLink());
        QCOMPARE(file.read(), newText);
        QCOMPARE(ScratchFile::mode(file.path()), 0640);
    }

    void noOtherWindowGetsATurnWhileTheFileIsReplaced()
    {
        const ScratchFile file(oldText);
        bool isLocked = false;
        support::CallWatch watch;
        watch.before("rename", [&] { isLocked = !base::FolderLock(file.folder(), 0).isHeld(); });
        QVERIFY(edit(file.path()));
        QVERIFY(isLocked);
        QVERIFY(base::FolderLock(file.folder(), 0).isHeld());
    }

    void aFolderThatAnotherWindowLocksIsLeftToIt()
    {
        const ScratchFile file(oldText);
        support::LockHolder otherWindow(file.folder());
        QString error;
        QVERIFY(!edit(file.path(), false, &error));
        QCOMPARE(error, "commit failed for "_L1 + file.path());
        QCOMPARE(file.read(), oldText);
        QCOMPARE(file.listing(), fileAlone);

        otherWindow.kill();
        QVERIFY(edit(file.path()));
    }

    void aFileIsReplacedWhereFoldersCannotBeLocked()
    {
        const ScratchFile file(oldText);
        support::CallWatch watch;
        watch.fail("lock", ENOLCK);
        QVERIFY(edit(file.path()));
        QCOMPARE(file.read(), newText);
    }

    void aBackupIsNamedByTheSecond_data()
    {
        QTest::addColumn<QStringList>("taken");
        QTest::addColumn<QString>("end");
        QTest::newRow("nothing more while the name is free") << QStringList{} << u""_s;
        QTest::newRow("-1 if it is taken") << QStringList{u""_s} << u"-1"_s;
        QTest::newRow("-10 if ten are taken")
            << QStringList{u""_s,   u"-1"_s, u"-2"_s, u"-3"_s, u"-4"_s,
                           u"-5"_s, u"-6"_s, u"-7"_s, u"-8"_s, u"-9"_s}
            << u"-10"_s;
        QTest::newRow("a gap is filled") << QStringList{u""_s, u"-2"_s} << u"-1"_s;
        QTest::newRow("-1 alone is no reason") << QStringList{u"-1"_s} << u""_s;
    }
    void aBackupIsNamedByTheSecond()
    {
        QFETCH(QStringList, taken);
        QFETCH(QString, end);
        const ScratchFile file("content");
        const auto nameOf = [&file](qint64 second, const QString &ending) {
            return file.beside(infix + QString::number(second) + ending);
        };
        const qint64 first = QDateTime::currentSecsSinceEpoch();
        for (qint64 second = first; second < first + 30; ++second) {
            for (const QString &ending : taken)
                ScratchFile::writeTo(nameOf(second, ending), "taken");
        }
        const QString backup = steam::writeBackup(file.path());
        const qint64 last = QDateTime::currentSecsSinceEpoch();
        QStringList possible;
        for (qint64 second = first; second <= last; ++second)
            possible.append(nameOf(second, end));
        QVERIFY2(possible.contains(backup), qPrintable(backup));
        QCOMPARE(ScratchFile::readFrom(backup), QByteArray("content"));
        for (const QString &ending : taken)
            QCOMPARE(ScratchFile::readFrom(nameOf(first, ending)), QByteArray("taken"));
    }

    void aBackupOfALinkIsAFileBesideTheLink()
    {
        const ScratchFile file("content");
        const ScratchFile other("");
        const QString link = other.beside(u"link.vdf"_s);
        QVERIFY(QFile::link(file.path(), link));
        const QString backup = steam::writeBackup(link);
        QVERIFY(backup.startsWith(link + ".bak-marrow-"_L1));
        QVERIFY(!QFileInfo(backup).isSymLink());
        QCOMPARE(ScratchFile::readFrom(backup), QByteArray("content"));
    }

    void aMissingFileHasNoBackup()
    {
        const ScratchFile file("content");
        QCOMPARE(steam::writeBackup(file.beside(u"missing.vdf"_s)), u""_s);
        QCOMPARE(file.listing(), fileAlone);
    }
};

QTEST_GUILESS_MAIN(TestLocalConfigFile)
#include "test_localconfigfile.moc"
