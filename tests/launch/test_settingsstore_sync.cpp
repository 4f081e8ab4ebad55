// SPDX-License-Identifier: MIT
// What reaches the store's file and what stays of it when writing fails.
#include "launch/settingsstore.h"
#include "support/filesizelimit.h"
#include "support/scratchfile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using support::FileSizeLimit;
using support::ScratchFile;

namespace
{

const auto storeName = u"store.conf"_s;
const QByteArray oneOriginal = "[original]\n400=-first\n";
/// Options that make the store longer than theLockAlone leaves room for.
const auto longOptions = QString(1400, u'x');

// What a disk still has room for. QSettings writes a lock file first, of more than a hundred bytes.
constexpr rlim_t lessThanTheLock = 50;
constexpr rlim_t theLockAlone = 600;

bool syncWithRoomFor(rlim_t bytes, QSettings &store)
{
    const FileSizeLimit limit(bytes);
    return launch::syncStore(store);
}

/// The text of a store that keeps launch options of so many bytes.
QByteArray storeOfOptions(int bytes)
{
    return "[original]\n400=" + QByteArray(bytes, 'x') + '\n';
}

/// While it lives, the current folder is another one.
class CurrentFolder
{
public:
    explicit CurrentFolder(const QString &path) { QDir::setCurrent(path); }
    ~CurrentFolder() { QDir::setCurrent(previous); }
    Q_DISABLE_COPY_MOVE(CurrentFolder)

private:
    const QString previous = QDir::currentPath();
};

} // namespace

class TestSettingsStoreSync : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void writesTheFile()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"config/9/caphz"_s, 60);
        QVERIFY(launch::syncStore(store));
        QCOMPARE(file.read(), QByteArray("[config]\n9\\caphz=60\n"));
        store.setValue(u"config/9/caphz"_s, 90);
        QVERIFY(launch::syncStore(store));
        QCOMPARE(file.read(), QByteArray("[config]\n9\\caphz=90\n"));
        QVERIFY(launch::syncStore(store)); // nothing new
        QCOMPARE(file.read(), QByteArray("[config]\n9\\caphz=90\n"));
        QCOMPARE(file.listing(), QStringList{storeName});
    }

    void aStoreThatDoesNotExistYet_data()
    {
        QTest::addColumn<bool>("hasValue");
        QTest::newRow("nothing to write") << false;
        QTest::newRow("the first value of all") << true;
    }
    void aStoreThatDoesNotExistYet()
    {
        QFETCH(const bool, hasValue);
        // The spare name that an existing store gets while it is written is ".marrow-spare" behind
        // its own.
        const ScratchFile here("somebody's", u".marrow-spare"_s);
        const CurrentFolder current(here.folder());
        const QString folder = here.beside(u"settings"_s);
        QSettings store(folder + u'/' + storeName, QSettings::IniFormat);
        if (hasValue)
            store.setValue(u"original/9"_s, u"-novid"_s);
        QVERIFY(launch::syncStore(store));
        QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 hasValue ? QStringList{storeName} : QStringList());
        QCOMPARE(here.read(), QByteArray("somebody's"));
        QCOMPARE(here.listing(), hasValue ? (QStringList{u".marrow-spare"_s, u"settings"_s})
                                          : QStringList{u".marrow-spare"_s});
    }

    void whatAKilledRunLeftIsCleared()
    {
        const ScratchFile file(oneOriginal, storeName);
        ScratchFile::writeTo(file.beside(u"store.conf.marrow-spare"_s), oneOriginal);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"original/9"_s, u"-novid"_s);
        QVERIFY(launch::syncStore(store));
        QCOMPARE(file.read(), oneOriginal + "9=-novid\n");
        QCOMPARE(file.listing(), QStringList{storeName});
    }

    void whatAnotherProgramWroteIsKept()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"original/9"_s, u"-novid"_s);
        file.write("[original]\n10=-high\n");
        QVERIFY(launch::syncStore(store));
        QCOMPARE(file.read(), QByteArray("[original]\n10=-high\n9=-novid\n"));
    }

    void anotherWindowsOriginalIsNotReplaced()
    {
        const ScratchFile file("", storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        launch::rememberOriginalLaunchOptions(store, u"9"_s, u"-mine"_s);
        const QByteArray theirs = "[original]\n9=-theirs\n";
        file.write(theirs);
        QVERIFY(!launch::syncStore(store));
        QCOMPARE(file.read(), theirs);
        QCOMPARE(file.listing(), QStringList{storeName});
        QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), u"-theirs"_s);
    }

    void aMalformedFileIsMended_data()
    {
        QTest::addColumn<QByteArray>("malformed");
        QTest::newRow("random bytes") << QByteArray::fromHex("8f1b00ff0a5b5d5d0afe010a");
        // These have other names once they are written again.
        QTest::newRow("section without a name") << QByteArray("[]\nx=1\n");
        QTest::newRow("section that begins with a slash") << QByteArray("[/a]\nx=1\n");
        QTest::newRow("key that begins with a backslash") << QByteArray("\\a=1\n");
    }
    void aMalformedFileIsMended()
    {
        QFETCH(const QByteArray, malformed);
        const ScratchFile file(malformed, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"original/9"_s, u"-novid"_s);
        QVERIFY(launch::syncStore(store));
        QVERIFY(file.read().endsWith("[original]\n9=-novid\n"));
    }

    void aKeyThatIsTakenOut_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("comesBack");
        QTest::newRow("a game's setting") << u"config/9/caphz"_s << true;
        QTest::newRow("a game's own options") << u"original/9"_s << true;
        QTest::newRow("none of the program's") << u"window/width"_s << false;
    }
    void aKeyThatIsTakenOut()
    {
        QFETCH(const QString, key);
        QFETCH(const bool, comesBack);
        const QByteArray before = "[config]\n9\\caphz=60\n9\\pacing=15\n\n"
                                  "[original]\n9=-novid\n\n[window]\nwidth=900\n";
        const ScratchFile file(before, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.remove(key);
        QCOMPARE(launch::syncStore(store), !comesBack);
        QCOMPARE(file.read() == before, comesBack);
        QCOMPARE(store.contains(key), comesBack);
        QCOMPARE(file.listing(), QStringList{storeName});
    }

    void noPlaceForTheFile_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("a folder in place of the file") << u"folder"_s;
        QTest::newRow("a file in place of the folder") << u"file/store.conf"_s;
    }
    void noPlaceForTheFile()
    {
        QFETCH(const QString, path);
        const ScratchFile file("kept", u"file"_s);
        const QString inside = file.beside(u"folder/inside"_s);
        QVERIFY(QDir(file.folder()).mkdir(u"folder"_s));
        ScratchFile::writeTo(inside, "kept");
        QSettings store(file.beside(path), QSettings::IniFormat);
        store.setValue(u"original/9"_s, u"-novid"_s);
        QVERIFY(!launch::syncStore(store));
        QCOMPARE(file.read(), QByteArray("kept"));
        QCOMPARE(ScratchFile::readFrom(inside), QByteArray("kept"));
        QCOMPARE(file.listing(), (QStringList{u"file"_s, u"folder"_s}));
    }

    void aFullDiskChangesNothing_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<rlim_t>("room");
        QTest::newRow("no room for the lock") << oneOriginal << lessThanTheLock;
        QTest::newRow("room for the old store") << oneOriginal << theLockAlone;
        QTest::newRow("no room for the old store either") << storeOfOptions(5000) << theLockAlone;
        QTest::newRow("larger than any buffer") << storeOfOptions(100'000) << rlim_t(50'000);
    }
    void aFullDiskChangesNothing()
    {
        QFETCH(const QByteArray, before);
        QFETCH(const rlim_t, room);
        const ScratchFile file(before, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        launch::rememberOriginalLaunchOptions(store, u"9"_s, longOptions);
        QVERIFY(!syncWithRoomFor(room, store));
        QVERIFY(file.read() == before);
        QCOMPARE(file.listing(), QStringList{storeName});

        // With room again, nothing is thought to be kept that is not.
        launch::rememberOriginalLaunchOptions(store, u"9"_s, longOptions);
        QVERIFY(launch::syncStore(store));
        QVERIFY(file.read() == before + "9=" + longOptions.toLatin1() + '\n');
    }

    void aFullDiskChangesNothingWhereTheOldFileGetsNoSecondName()
    {
        const ScratchFile file(oneOriginal, storeName);
        QVERIFY(QDir(file.folder()).mkpath(u"store.conf.marrow-spare/in the way"_s));
        QSettings store(file.path(), QSettings::IniFormat);
        launch::rememberOriginalLaunchOptions(store, u"9"_s, longOptions);
        QVERIFY(!syncWithRoomFor(theLockAlone, store));
        QCOMPARE(file.read(), oneOriginal);

        launch::rememberOriginalLaunchOptions(store, u"9"_s, u"-novid"_s);
        QVERIFY(launch::syncStore(store));
        QCOMPARE(file.read(), oneOriginal + "9=-novid\n");
    }

    void aFullDiskLeavesNoNewStore()
    {
        const ScratchFile other("", u"other"_s);
        QSettings store(other.beside(storeName), QSettings::IniFormat);
        launch::rememberOriginalLaunchOptions(store, u"9"_s, longOptions);
        QVERIFY(!syncWithRoomFor(theLockAlone, store));
        QCOMPARE(other.listing(), QStringList{u"other"_s});
    }

    void aFullDiskChangesNothingBehindALink()
    {
        const QByteArray before = storeOfOptions(5000);
        const ScratchFile file(before, storeName);
        const ScratchFile other("", u"other"_s);
        const QString link = other.beside(u"link.conf"_s);
        QVERIFY(QFile::link(file.path(), link));
        QSettings store(link, QSettings::IniFormat);
        launch::rememberOriginalLaunchOptions(store, u"9"_s, longOptions);
        QVERIFY(!syncWithRoomFor(theLockAlone, store));
        QCOMPARE(file.read(), before);
        QCOMPARE(file.listing(), QStringList{storeName});
        QCOMPARE(QFileInfo(link).symLinkTarget(), file.path());
        QCOMPARE(other.listing(), (QStringList{u"link.conf"_s, u"other"_s}));
    }

    void savingSettingsOnAFullDiskChangesNothing()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        QMap<QString, launch::GameSettings> records;
        for (int appid = 100; appid < 110; ++appid)
            records.insert(QString::number(appid), {});
        {
            const FileSizeLimit limit(theLockAlone);
            launch::saveAllGameSettings(store, records);
        }
        QCOMPARE(file.read(), oneOriginal);
        QCOMPARE(file.listing(), QStringList{storeName});
    }

    void whatIsLeftFromAnEarlierFailureFailsAgain()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        launch::rememberOriginalLaunchOptions(store, u"9"_s, longOptions);
        QVERIFY(!syncWithRoomFor(lessThanTheLock, store));
        // By itself the second game's would fit; with what is left from before it does not.
        launch::rememberOriginalLaunchOptions(store, u"10"_s, u"-high"_s);
        QVERIFY(!syncWithRoomFor(theLockAlone, store));
        QCOMPARE(file.read(), oneOriginal);
        QCOMPARE(file.listing(), QStringList{storeName});

        launch::rememberOriginalLaunchOptions(store, u"9"_s, longOptions);
        launch::rememberOriginalLaunchOptions(store, u"10"_s, u"-high"_s);
        QVERIFY(launch::syncStore(store));
        QCOMPARE(file.read(),
                 "[original]\n10=-high\n400=-first\n9=" + longOptions.toLatin1() + '\n');
    }

    void whatIsLeftIsNotWrittenBehindTheProgramsBack()
    {
        const ScratchFile file(oneOriginal, storeName);
        auto store = std::make_unique<QSettings>(file.path(), QSettings::IniFormat);
        launch::rememberOriginalLaunchOptions(*store, u"9"_s, longOptions);
        QVERIFY(!syncWithRoomFor(lessThanTheLock, *store));
        {
            const FileSizeLimit limit(theLockAlone);
            QCoreApplication::processEvents();
            store.reset();
        }
        QCOMPARE(file.read(), oneOriginal);
        QCOMPARE(file.listing(), QStringList{storeName});
    }
};

QTEST_GUILESS_MAIN(TestSettingsStoreSync)
#include "test_settingsstore_sync.moc"
