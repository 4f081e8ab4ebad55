// SPDX-License-Identifier: MIT
// What reaches the store's file, what stays of it when something fails, and who is waited for.
#include "base/folderlock.h"
#include "launch/settingsstore.h"
#include "support/callwatch.h"
#include "support/filesizelimit.h"
#include "support/lockholder.h"
#include "support/scratchfile.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QSettings>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using support::CallWatch;
using support::FileSizeLimit;
using support::ScratchFile;

namespace
{

const auto storeName = u"store.conf"_s;
const QByteArray oneOriginal = "[original]\n400=-first\n";
const QByteArray twoOriginals = "[original]\n400=-first\n9=-novid\n";

/// Keeps the options for the game 9, if none are kept for it.
bool keep(QSettings &store, const QString &options)
{
    launch::StoreEdit edit(store);
    QMap<QString, QString> originals;
    if (edit.canKeep(u"9"_s, options))
        originals.insert(u"9"_s, options);
    return edit.save({}, originals);
}

/// Saves settings of the game 9 with this cap.
bool saveCap(QSettings &store, int caphz)
{
    launch::GameSettings settings;
    settings.caphz = caphz;
    return launch::StoreEdit(store).save({{u"9"_s, settings}}, {});
}

/// The text of a store that keeps launch options of so many bytes for the game 400.
QByteArray storeOfOptions(int bytes)
{
    return "[original]\n400=" + QByteArray(bytes, 'x') + '\n';
}

/// What another run of the program finds kept for the game 9 in the file.
QString keptFor9(const ScratchFile &file)
{
    const QString copy = file.beside(u"another name"_s);
    ScratchFile::writeTo(copy, file.read());
    return launch::originalLaunchOptions(QSettings(copy, QSettings::NativeFormat), u"9"_s);
}

} // namespace

class TestSettingsStoreChange : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(temporary.isValid());
        qputenv("TMPDIR", QFile::encodeName(temporary.path()));
    }

    void cleanup()
    {
        // No scratch copy stays.
        QCOMPARE(QDir(temporary.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
                 QStringList());
    }

    void isInTheFileAndInTheWindow()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        const CallWatch watch;
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(file.read(), twoOriginals);
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), u"-novid"_s);
        QCOMPARE(file.listing(), QStringList{storeName});
        QCOMPARE(watch.order().last(3), (QByteArrayList{"sync a file", "rename", "sync a folder"}));
    }

    void nothingNewWritesNothing()
    {
        const ScratchFile file(twoOriginals, storeName);
        const QDateTime before = QFileInfo(file.path()).lastModified();
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(QFileInfo(file.path()).lastModified(), before);

        QVERIFY(QFile::remove(file.path()));
        QVERIFY(launch::StoreEdit(store).save({}, {}));
        QCOMPARE(file.listing(), QStringList());
    }

    /// It holds what Steam's file holds, which only the user can read.
    void aNewStoreIsTheUsersOwn()
    {
        const ScratchFile file("", storeName);
        const QString path = file.beside(u"config/store.conf"_s);
        const mode_t before = ::umask(0);
        QSettings store(path, QSettings::NativeFormat);
        const bool isKept = keep(store, u"-novid"_s);
        ::umask(before);
        QVERIFY(isKept);
        QCOMPARE(ScratchFile::mode(file.beside(u"config"_s)), 0700);
        QCOMPARE(ScratchFile::mode(path), 0600);
    }

    void optionsOfAllKinds_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("plain") << u"-novid -high"_s;
        QTest::newRow("quotes and backslashes") << u"\\\"C:\\\\games\\\" \"x\" %command%"_s;
        QTest::newRow("comma: no list") << u"-a,b, c"_s;
        QTest::newRow("semicolon and number sign") << u"a; b # c"_s;
        QTest::newRow("equals sign and percent") << u"DXVK=1 %command% %20"_s;
        QTest::newRow("blanks around it") << u"  -novid  "_s;
        QTest::newRow("text beyond ASCII") << u"-naïve Ночной 🎮"_s;
        QTest::newRow("the look of a value of Qt's own") << u"@Size(1 2)"_s;
        QTest::newRow("the look of no value") << u"@Invalid()"_s;
        QTest::newRow("a line break and a tab") << u"a\n\tb"_s;
        QTest::newRow("100,000 characters") << QString(100'000, u'x');
    }
    void optionsOfAllKinds()
    {
        QFETCH(const QString, options);
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(keep(store, options));
        QCOMPARE(keptFor9(file), options);
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), options);
    }

    void optionsThatTheFormatCannotHold_data()
    {
        QTest::addColumn<QString>("odd");
        QTest::newRow("a byte-order mark before them") << u"\ufeff-x %command%"_s;
        QTest::newRow("a byte-order mark inside") << u"-x \ufeff%command%"_s;
    }
    void optionsThatTheFormatCannotHold()
    {
        QFETCH(const QString, odd);
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        launch::StoreEdit edit(store);
        QVERIFY(!edit.canKeep(u"8"_s, odd));
        QVERIFY(edit.canKeep(u"8"_s, u"-x %command%"_s));
        QVERIFY(!edit.canKeep(u"400"_s, u"-x %command%"_s)); // others are kept
    }

    void whatDoesNotComeBackIsNotWritten_data()
    {
        QTest::addColumn<QString>("odd");
        QTest::newRow("half of a surrogate pair, the first") << u"-x "_s + QChar(0xd83c);
        QTest::newRow("half of a surrogate pair, the second") << QChar(0xdfae) + u" -x"_s;
    }
    void whatDoesNotComeBackIsNotWritten()
    {
        QFETCH(const QString, odd);
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(!launch::StoreEdit(store).save({}, {{u"8"_s, odd}, {u"9"_s, u"-novid"_s}}));
        QCOMPARE(file.read(), oneOriginal);
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), QString());
    }

    /// What was killed while it saved leaves its scratch folder.
    void aKilledSaveLeavesNothingForGood()
    {
        const ScratchFile file(oneOriginal, storeName);
        const QString left = file.beside(u".scratch-AbCdEf"_s);
        const ScratchFile elsewhere("kept", u"file"_s);
        QVERIFY(QDir().mkpath(left));
        ScratchFile::writeTo(left + "/copy.conf"_L1, oneOriginal);
        QVERIFY(QFile::link(elsewhere.folder(), left + "/link"_L1));
        QVERIFY(QFile::link(elsewhere.folder(), file.beside(u".scratch-link"_s)));
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(file.listing(), (QStringList{u".scratch-link"_s, storeName}));
        QCOMPARE(elsewhere.read(), QByteArray("kept"));
    }

    void aSaveOfAnotherWindowIsLeftAlone()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(QDir().mkpath(file.beside(u".scratch-theirs"_s)));
        support::LockHolder otherWindow(file.folder());
        QVERIFY(!keep(store, u"-novid"_s));
        QCOMPARE(file.listing(), (QStringList{u".scratch-theirs"_s, storeName}));
    }

    void theScratchCopyIsForThisUserAlone()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        const launch::StoreEdit edit(store);
        const QStringList listing = file.listing();
        QCOMPARE(listing.size(), 2);
        QCOMPARE(ScratchFile::mode(file.beside(listing.first())), 0700);
    }

    void whatAnotherWindowWroteIsKept()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        file.write("[config]\n10\\caphz=60\n\n[original]\n10=-high\n");
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(file.read(),
                 QByteArray("[config]\n10\\caphz=60\n\n[original]\n10=-high\n9=-novid\n"));
        QCOMPARE(launch::originalLaunchOptions(store, u"10"_s), u"-high"_s);
    }

    void anotherWindowsOriginalIsNotReplaced()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        file.write("[original]\n9=-theirs\n");
        QVERIFY(keep(store, u"-mine"_s));
        QCOMPARE(file.read(), QByteArray("[original]\n9=-theirs\n"));
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), u"-theirs"_s);
    }

    void whatAnotherWindowChangesBetweenTwoSavesIsKept()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(saveCap(store, 60));
        file.write("[config]\n10\\caphz=75\n9\\caphz=75\n");
        QVERIFY(saveCap(store, 60));
        // Who saves last decides about a key, and about no other one.
        QCOMPARE(store.value(u"config/9/caphz"_s).toInt(), 60);
        QCOMPARE(store.value(u"config/10/caphz"_s).toInt(), 75);
    }

    void nothingIsWrittenLater_data()
    {
        QTest::addColumn<bool>("failing");
        QTest::newRow("after a change") << false;
        QTest::newRow("after one that failed") << true;
    }
    void nothingIsWrittenLater()
    {
        QFETCH(const bool, failing);
        const ScratchFile file(oneOriginal, storeName);
        auto store = std::make_unique<QSettings>(file.path(), QSettings::NativeFormat);
        {
            CallWatch watch;
            if (failing)
                watch.fail("sync a file", EIO);
            QCOMPARE(keep(*store, u"-novid"_s), !failing);
        }
        const QByteArray theirs = "[original]\n9=-theirs\n";
        file.write(theirs);
        store->sync();
        QCoreApplication::processEvents();
        {
            const FileSizeLimit fullDisk(0);
            store.reset();
        }
        QCOMPARE(file.read(), theirs);
        QCOMPARE(file.listing(), QStringList{storeName});
    }

    void aFolderThatIsMissingIsMade()
    {
        const ScratchFile file("", u"other"_s);
        const QString path = file.beside(u"one/two/store.conf"_s);
        QSettings store(path, QSettings::NativeFormat);
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(ScratchFile::readFrom(path), QByteArray("[original]\n9=-novid\n"));
    }

    void aLinkAndTheModeStay()
    {
        const ScratchFile file(oneOriginal, storeName);
        ScratchFile::setMode(file.path(), 0640);
        const ScratchFile other("", u"other"_s);
        const QString link = other.beside(u"link.conf"_s);
        QVERIFY(QFile::link(file.path(), link));
        QSettings store(link, QSettings::NativeFormat);
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(QFileInfo(link).symLinkTarget(), file.path());
        QCOMPARE(file.read(), twoOriginals);
        QCOMPARE(ScratchFile::mode(file.path()), 0640);
        QCOMPARE(other.listing(), (QStringList{u"link.conf"_s, u"other"_s}));
    }

    void aMalformedFileIsMended_data()
    {
        QTest::addColumn<QByteArray>("malformed");
        QTest::newRow("random bytes") << QByteArray::fromHex("8f1b00ff0a5b5d5d0afe010a");
        // These have other names once they are written again.
        QTest::newRow("section without a name") << QByteArray("[]\nx=1\n");
        QTest::newRow("section that begins with a slash") << QByteArray("[/a]\nx=1\n");
        QTest::newRow("key that begins with a backslash") << QByteArray("\\a=1\n");
        QTest::newRow("cut in a key") << QByteArray("[config]\n10\\upscaling=true\n10\\rend");
        QTest::newRow("cut in an escape") << QByteArray("[original]\n10=\"\\x");
    }
    void aMalformedFileIsMended()
    {
        QFETCH(const QByteArray, malformed);
        const ScratchFile file(malformed, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(keep(store, u"-novid"_s));
        QVERIFY(file.read().contains("9=-novid\n"));
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), u"-novid"_s);
    }

    void noPlaceForTheFile_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("a folder in place of the file") << u"folder"_s;
        QTest::newRow("a file in place of the folder") << u"file/store.conf"_s;
        QTest::newRow("a link to itself") << u"circle"_s;
    }
    void noPlaceForTheFile()
    {
        QFETCH(const QString, path);
        const ScratchFile file("kept", u"file"_s);
        const QString inside = file.beside(u"folder/inside"_s);
        QVERIFY(QDir(file.folder()).mkdir(u"folder"_s));
        QVERIFY(QFile::link(u"circle"_s, file.beside(u"circle"_s)));
        ScratchFile::writeTo(inside, "kept");
        QSettings store(file.beside(path), QSettings::NativeFormat);
        QVERIFY(!keep(store, u"-novid"_s));
        QCOMPARE(file.read(), QByteArray("kept"));
        QCOMPARE(ScratchFile::readFrom(inside), QByteArray("kept"));
        QVERIFY(QFileInfo(file.beside(u"circle"_s)).isSymLink());
        QCOMPARE(file.listing(), (QStringList{u"circle"_s, u"file"_s, u"folder"_s}));
    }

    void aLockFileOfAnotherProgramDelaysNothing_data()
    {
        QTest::addColumn<void (*)(const QString &)>("leave");
        const auto row = [](const char *name, void (*leave)(const QString &)) {
            QTest::newRow(name) << leave;
        };
        row("empty", [](const QString &path) { ScratchFile::writeTo(path, ""); });
        row("of another machine", [](const QString &path) {
            ScratchFile::writeTo(path, "1\nother\nelsewhere\nmachine\nboot\n");
        });
        row("of a running process", [](const QString &path) {
            ScratchFile::writeTo(path, QByteArray::number(::getppid()) + "\nother\n");
        });
        row("a folder", [](const QString &path) { QVERIFY(QDir().mkpath(path + "/inside"_L1)); });
        row("a pipe", [](const QString &path) {
            QCOMPARE(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        });
        row("a link that leads nowhere",
            [](const QString &path) { QVERIFY(QFile::link(u"/nowhere/at/all"_s, path)); });
    }
    void aLockFileOfAnotherProgramDelaysNothing()
    {
        using Leave = void (*)(const QString &);
        QFETCH(const Leave, leave);
        const ScratchFile file(oneOriginal, storeName);
        leave(file.path() + ".lock"_L1);
        QSettings store(file.path(), QSettings::NativeFormat);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(keep(store, u"-novid"_s));
        QVERIFY2(timer.elapsed() < 20'000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(file.read(), twoOriginals);
        QCOMPARE(file.listing(), (QStringList{storeName, storeName + ".lock"_L1}));
    }

    void anotherWindowThatSavesIsWaitedForAWhile()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        {
            const base::FolderLock theirs(file.folder(), 0);
            QVERIFY(theirs.isHeld());
            QElapsedTimer timer;
            timer.start();
            QVERIFY(!keep(store, u"-novid"_s));
            QVERIFY(timer.elapsed() >= 3'000);
        }
        QCOMPARE(file.read(), oneOriginal);
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(file.read(), twoOriginals);
    }

    void theStoreIsReadUnderTheLock()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        CallWatch watch;
        watch.before("lock", [&file] { file.write(oneOriginal); });
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(file.read(), twoOriginals);
    }

    void whatIsWrittenWithoutTheLockStands()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        CallWatch watch;
        watch.before("read proof.conf", [&file] { file.write("[original]\n9=-theirs\n"); });
        QVERIFY(!keep(store, u"-mine"_s));
        QCOMPARE(file.read(), QByteArray("[original]\n9=-theirs\n"));
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), u"-theirs"_s);
    }

    void aFullDiskChangesNothing_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<rlim_t>("room");
        QTest::newRow("no room at all") << oneOriginal << rlim_t(0);
        QTest::newRow("room for QSettings' lock file, not for it") << oneOriginal << rlim_t(50);
        QTest::newRow("room for the old store") << oneOriginal << rlim_t(600);
        QTest::newRow("no room for the old store either") << storeOfOptions(5'000) << rlim_t(600);
        // One byte less would be the last line end, which nothing depends on.
        QTest::newRow("two bytes short") << oneOriginal << rlim_t(oneOriginal.size() + 1401);
        QTest::newRow("larger than any buffer") << storeOfOptions(100'000) << rlim_t(50'000);
    }
    void aFullDiskChangesNothing()
    {
        QFETCH(const QByteArray, before);
        QFETCH(const rlim_t, room);
        const ScratchFile file(before, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        const QString longOptions(1400, u'x');
        {
            const FileSizeLimit limit(room);
            QVERIFY(!keep(store, longOptions));
        }
        QVERIFY(file.read() == before);
        QCOMPARE(file.listing(), QStringList{storeName});
        QVERIFY(!store.contains(u"original/9"_s));
        QVERIFY(store.contains(u"original/400"_s));

        QVERIFY(keep(store, longOptions));
        QVERIFY(file.read() == before + "9=" + longOptions.toLatin1() + '\n');
    }

    void aFullDiskGetsNoNewStore()
    {
        const ScratchFile file("", u"other"_s);
        QSettings store(file.beside(storeName), QSettings::NativeFormat);
        {
            const FileSizeLimit limit(10);
            QVERIFY(!keep(store, u"-novid"_s));
        }
        QCOMPARE(file.listing(), QStringList{u"other"_s});
    }

    void aCallThatFailsChangesNothing_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::newRow("no lock") << QByteArray("lock");
        QTest::newRow("the store cannot be read") << QByteArray("read store.conf");
        QTest::newRow("no copy of it") << QByteArray("write copy.conf");
        QTest::newRow("the copy cannot be read") << QByteArray("read copy.conf");
        QTest::newRow("the proof cannot be read") << QByteArray("read proof.conf");
        QTest::newRow("the mode cannot be kept") << QByteArray("change the mode");
        QTest::newRow("the new file cannot be synced") << QByteArray("sync a file");
        QTest::newRow("nothing can be renamed") << QByteArray("rename");
    }
    void aCallThatFailsChangesNothing()
    {
        QFETCH(const QByteArray, call);
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        {
            CallWatch watch;
            watch.fail(call, EIO);
            QVERIFY(!keep(store, u"-novid"_s));
        }
        QCOMPARE(file.read(), oneOriginal);
        QCOMPARE(file.listing(), QStringList{storeName});

        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(file.read(), twoOriginals);
        QCOMPARE(launch::originalLaunchOptions(store, u"400"_s), u"-first"_s);
    }

    /// Of the old content, too, nothing is lost where the copy of it was not read.
    void oneCallThatFailsLosesNothing_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::newRow("the copy is not read") << QByteArray("read copy.conf");
        QTest::newRow("the proof is not read") << QByteArray("read proof.conf");
        QTest::newRow("QSettings cannot lock the copy") << QByteArray("write copy.conf.lock");
        QTest::newRow("QSettings cannot rename it") << QByteArray("rename");
    }
    void oneCallThatFailsLosesNothing()
    {
        QFETCH(const QByteArray, call);
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        bool kept = false;
        {
            CallWatch watch;
            watch.fail(call, EIO, 1);
            kept = keep(store, u"-novid"_s);
        }
        QCOMPARE(file.read(), kept ? twoOriginals : oneOriginal);
        QCOMPARE(launch::originalLaunchOptions(store, u"400"_s), u"-first"_s);
    }

    void theNewFileCannotTakeItsPlace()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        CallWatch watch;
        watch.fail("rename", EIO, -1, 1); // the first is that of QSettings, in the scratch folder
        QVERIFY(!keep(store, u"-novid"_s));
        QCOMPARE(file.read(), oneOriginal);
        QCOMPARE(file.listing(), QStringList{storeName});
    }

private:
    QTemporaryDir temporary;
};

QTEST_GUILESS_MAIN(TestSettingsStoreChange)
#include "test_settingsstore_change.moc"
