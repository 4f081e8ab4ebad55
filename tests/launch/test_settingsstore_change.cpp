// SPDX-License-Identifier: MIT
// StoreEdit: what it writes into the store's file, what a failure leaves there, and how windows
// wait for each other.
#include "base/folderlock.h"
#include "launch/settingsstore.h"
#include "support/callwatch.h"
#include "support/filesizelimit.h"
#include "support/lockholder.h"
#include "support/scratchfile.h"

#include <QCoreApplication>
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

/// The options of the game that another run of the program finds in the file.
QString keptFor(const QString &appid, const ScratchFile &file)
{
    const QString copy = file.beside(u"another name"_s);
    ScratchFile::writeTo(copy, file.read());
    return launch::originalLaunchOptions(QSettings(copy, QSettings::NativeFormat), appid);
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

    void keptOptionsAreOnTheDiskAndInTheWindow()
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

    void aStoreThatHoldsEverythingIsNotWritten()
    {
        const ScratchFile file(twoOriginals, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(saveCap(store, 60));
        const auto before = base::fileVersion(file.path());
        QVERIFY(keep(store, u"-novid"_s));
        QVERIFY(saveCap(store, 60));
        QVERIFY(base::fileVersion(file.path()) == before);
        QVERIFY(saveCap(store, 61));
        QVERIFY(base::fileVersion(file.path()) != before);
        file.write(
            file.read().replace("[config]", "[other]")); // the same keys, but not the store's
        QVERIFY(saveCap(store, 61));
        QVERIFY(file.read().contains("[config]\n9\\caphz=61\n"));

        QVERIFY(QFile::remove(file.path()));
        QVERIFY(launch::StoreEdit(store).save({}, {}));
        QCOMPARE(file.listing(), QStringList());
    }

    void aNewStoreIsReadableForTheUserAlone()
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

    void optionsAreKeptAsTheyAre_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("blanks around them") << u"  -novid  "_s;
        QTest::newRow("quotes and backslashes") << u"\\\"C:\\\\games\\\" \"x\" %command%"_s;
        QTest::newRow("text that looks like a value of Qt's own") << u"@Size(1 2)"_s;
        QTest::newRow("100,000 characters") << QString(100'000, u'x');
    }
    void optionsAreKeptAsTheyAre()
    {
        QFETCH(const QString, options);
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(keep(store, options));
        QCOMPARE(keptFor(u"9"_s, file), options);
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), options);
    }

    void optionsThatCannotBeKept()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        launch::StoreEdit edit(store);
        QVERIFY(edit.canKeep(u"8"_s, u"-x %command%"_s));
        QVERIFY(!edit.canKeep(u"8"_s, u"-x \ufeff%command%"_s)); // the format loses the mark
        QVERIFY(!edit.canKeep(u"400"_s, u"-x %command%"_s));     // it has some already
    }

    void optionsThatDoNotComeBackAreNotWritten()
    {
        const QString odd = u"-x "_s + QChar(0xd83c); // half of a surrogate pair
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(!launch::StoreEdit(store).save({}, {{u"8"_s, odd}, {u"9"_s, u"-novid"_s}}));
        QCOMPARE(file.read(), oneOriginal);
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), QString());
    }

    /// QSettings reads the escaped mark, but can write it so that it is lost: then nothing is
    /// saved.
    void optionsThatWereKeptBeforeComeBackWhateverIsSaved()
    {
        const ScratchFile file("[original]\n400=\\xfeff-first\n", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        keep(store, u"-novid"_s);
        QCOMPARE(keptFor(u"400"_s, file), u"\ufeff-first"_s);
    }

    void theScratchFolderOfAKilledRunIsRemoved()
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

    void theScratchFolderOfAnotherWindowStays()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(QDir().mkpath(file.beside(u".scratch-theirs"_s)));
        support::LockHolder otherWindow(file.folder());
        QVERIFY(!keep(store, u"-novid"_s));
        QCOMPARE(file.listing(), (QStringList{u".scratch-theirs"_s, storeName}));
    }

    void theScratchFolderIsForTheUserAlone()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        const launch::StoreEdit edit(store);
        const QStringList listing = file.listing();
        QCOMPARE(listing.size(), 2);
        QCOMPARE(ScratchFile::mode(file.beside(listing.first())), 0700);
    }

    void otherGamesOptionsOfAnotherWindowAreKept()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        file.write("[config]\n10\\caphz=60\n\n[original]\n10=-high\n");
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(file.read(),
                 QByteArray("[config]\n10\\caphz=60\n\n[original]\n10=-high\n9=-novid\n"));
        QCOMPARE(launch::originalLaunchOptions(store, u"10"_s), u"-high"_s);
    }

    void optionsThatAnotherWindowKeptAreNotReplaced()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        file.write("[original]\n9=-theirs\n");
        QVERIFY(keep(store, u"-mine"_s));
        QCOMPARE(file.read(), QByteArray("[original]\n9=-theirs\n"));
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), u"-theirs"_s);
    }

    void settingsThatAnotherWindowSavedAreKept()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(saveCap(store, 60));
        file.write("[config]\n10\\caphz=75\n9\\caphz=75\n");
        QVERIFY(saveCap(store, 60));
        // The last save decides about its own keys only.
        QCOMPARE(store.value(u"config/9/caphz"_s).toInt(), 60);
        QCOMPARE(store.value(u"config/10/caphz"_s).toInt(), 75);
    }

    void theStoreIsNeverWrittenLater_data()
    {
        QTest::addColumn<bool>("failing");
        QTest::newRow("after a change") << false;
        QTest::newRow("after a change that failed") << true;
    }
    void theStoreIsNeverWrittenLater()
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

    void missingFoldersAreMade()
    {
        const ScratchFile file("", u"other"_s);
        const QString path = file.beside(u"one/two/store.conf"_s);
        QSettings store(path, QSettings::NativeFormat);
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(ScratchFile::readFrom(path), QByteArray("[original]\n9=-novid\n"));
    }

    void aStoreKeepsItsLinkAndMode()
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

    void aDamagedStoreIsMended_data()
    {
        QTest::addColumn<QByteArray>("malformed");
        QTest::newRow("random bytes") << QByteArray::fromHex("8f1b00ff0a5b5d5d0afe010a");
        // QSettings gives these other names when it writes them.
        QTest::newRow("section without a name") << QByteArray("[]\nx=1\n");
        QTest::newRow("key that begins with a backslash") << QByteArray("\\a=1\n");
        QTest::newRow("cut in an escape") << QByteArray("[original]\n10=\"\\x");
    }
    void aDamagedStoreIsMended()
    {
        QFETCH(const QByteArray, malformed);
        const ScratchFile file(malformed, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        QVERIFY(keep(store, u"-novid"_s));
        QVERIFY(file.read().contains("9=-novid\n"));
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), u"-novid"_s);
    }

    void aStoreThatHasNoPlaceIsNotSaved_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("a folder in place of the file") << u"folder"_s;
        QTest::newRow("a file in place of the folder") << u"file/store.conf"_s;
        QTest::newRow("a link to itself") << u"circle"_s;
    }
    void aStoreThatHasNoPlaceIsNotSaved()
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

    /// QSettings would wait for this file.
    void aLockFileOfAnotherProgramDelaysNothing()
    {
        const ScratchFile file(oneOriginal, storeName);
        const QString lockFile = file.path() + ".lock"_L1;
        ScratchFile::writeTo(lockFile, QByteArray::number(::getppid()) + "\nother\n");
        QSettings store(file.path(), QSettings::NativeFormat);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(keep(store, u"-novid"_s));
        QVERIFY2(timer.elapsed() < 20'000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(file.read(), twoOriginals);
        QVERIFY(QFile::exists(lockFile));
    }

    void anotherWindowThatSavesIsWaitedForThreeSeconds()
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

    void theStoreIsReadWhenTheOtherWindowIsDone()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        CallWatch watch;
        watch.before("lock", [&file] { file.write(oneOriginal); });
        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(file.read(), twoOriginals);
    }

    void aProgramThatWritesTheStoreMeanwhileIsNotUndone()
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
        QTest::newRow("room for the old store") << oneOriginal << rlim_t(600);
        QTest::newRow("no room for the old store either") << storeOfOptions(5'000) << rlim_t(600);
        // One byte short would cut only the last line end, which does not matter.
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

    void aFullDiskLeavesNoNewStore()
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
        QTest::addColumn<int>("spared");
        QTest::newRow("the lock") << QByteArray("lock") << 0;
        QTest::newRow("reading the store") << QByteArray("read store.conf") << 0;
        QTest::newRow("making the copy") << QByteArray("write copy.conf") << 0;
        QTest::newRow("reading the copy") << QByteArray("read copy.conf") << 0;
        QTest::newRow("reading what was written") << QByteArray("read proof.conf") << 0;
        QTest::newRow("keeping the mode") << QByteArray("change the mode") << 0;
        QTest::newRow("syncing the new file") << QByteArray("sync a file") << 0;
        QTest::newRow("renaming the copy") << QByteArray("rename") << 0;
        QTest::newRow("renaming the new file") << QByteArray("rename") << 1;
    }
    void aCallThatFailsChangesNothing()
    {
        QFETCH(const QByteArray, call);
        QFETCH(const int, spared);
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::NativeFormat);
        {
            CallWatch watch;
            watch.fail(call, EIO, -1, spared);
            QVERIFY(!keep(store, u"-novid"_s));
        }
        QCOMPARE(file.read(), oneOriginal);
        QCOMPARE(file.listing(), QStringList{storeName});

        QVERIFY(keep(store, u"-novid"_s));
        QCOMPARE(file.read(), twoOriginals);
        QCOMPARE(launch::originalLaunchOptions(store, u"400"_s), u"-first"_s);
    }

    /// QSettings tries some calls again, so a save may succeed: the old options must not be lost.
    void aCallThatFailsOnceLosesNothing_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::newRow("the copy is not read") << QByteArray("read copy.conf");
        QTest::newRow("the proof is not read") << QByteArray("read proof.conf");
        QTest::newRow("QSettings cannot lock the copy") << QByteArray("write copy.conf.lock");
        QTest::newRow("QSettings cannot rename it") << QByteArray("rename");
    }
    void aCallThatFailsOnceLosesNothing()
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

private:
    QTemporaryDir temporary;
};

QTEST_GUILESS_MAIN(TestSettingsStoreChange)
#include "test_settingsstore_change.moc"
