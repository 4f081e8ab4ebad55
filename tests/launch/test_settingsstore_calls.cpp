// SPDX-License-Identifier: MIT
// Nothing of the store is lost when one of the calls fails that look at its file or write it.
#include "launch/settingsstore.h"

#include "support/callwatch.h"
#include "support/filesizelimit.h"
#include "support/firstdescriptorfree.h"
#include "support/scratchfile.h"

#include <QSettings>
#include <QTest>

using namespace Qt::StringLiterals;
using support::CallWatch;
using support::FileSizeLimit;
using support::ScratchFile;

namespace
{

const auto storeName = u"store.conf"_s;
const auto spareName = u"store.conf.marrow-spare"_s;
const QByteArray oneOriginal = "[original]\n400=-first\n";
const QByteArray twoOriginals = "[original]\n400=-first\n9=-novid\n";
/// Room for QSettings' lock file and for a short store, but not for one with longOptions.
constexpr rlim_t littleRoom = 600;
const auto longOptions = QString(1400, u'x');

} // namespace

class TestSettingsStoreCalls : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void isOnTheDiskWhenItIsSaid()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"original/9"_s, u"-novid"_s);
        const CallWatch watch;
        QVERIFY(launch::syncStore(store));
        QCOMPARE(watch.order(), (QByteArrayList{"rename", "sync a file", "sync a folder"}));
    }

    void nothingIsClaimedWhereACallFails_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<QByteArray>("left");
        QTest::newRow("no file in memory") << QByteArray("make a file in memory") << oneOriginal;
        QTest::newRow("no time of its own") << QByteArray("change the times") << oneOriginal;
        QTest::newRow("the store cannot be read") << QByteArray("read store.conf") << oneOriginal;
        // It stands already, but may be gone after a power cut.
        QTest::newRow("the file cannot be synced") << QByteArray("sync a file") << twoOriginals;
        QTest::newRow("the folder cannot be synced") << QByteArray("sync a folder") << twoOriginals;
    }
    void nothingIsClaimedWhereACallFails()
    {
        QFETCH(const QByteArray, call);
        QFETCH(const QByteArray, left);
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"original/9"_s, u"-novid"_s);
        {
            CallWatch watch;
            watch.fail(call, EIO);
            QVERIFY(!launch::syncStore(store));
        }
        QCOMPARE(file.read(), left);
        QCOMPARE(file.listing(), QStringList{storeName});
    }

    void whatIsPutBackIsOnTheDisk()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"original/9"_s, longOptions);
        const CallWatch watch;
        {
            const FileSizeLimit limit(littleRoom);
            QVERIFY(!launch::syncStore(store));
        }
        QCOMPARE(watch.order().last(2), (QByteArrayList{"sync a file", "sync a folder"}));
    }

    void theOldFileIsWrittenAgainWhereItCannotBeRenamed()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"original/9"_s, longOptions);
        CallWatch watch;
        watch.fail("rename", EIO, 1, 1); // the first is that of QSettings
        {
            const FileSizeLimit limit(littleRoom);
            QVERIFY(!launch::syncStore(store));
        }
        QCOMPARE(file.read(), oneOriginal);
        QCOMPARE(file.listing(), QStringList{storeName});
    }

    void theOldFileKeepsItsSecondNameWhereItCannotBePutBack()
    {
        const QByteArray before = "[original]\n400=" + QByteArray(1400, 'y') + '\n';
        const ScratchFile file(before, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"original/9"_s, u"-novid"_s);
        {
            CallWatch watch;
            watch.fail("rename", EIO, -1, 1);
            const FileSizeLimit limit(littleRoom);
            QVERIFY(!launch::syncStore(store));
        }
        QCOMPARE(ScratchFile::readFrom(file.beside(spareName)), before);
        QCOMPARE(file.listing(), (QStringList{storeName, spareName}));

        launch::recoverStore(store); // at the program's next start
        QCOMPARE(file.read(), before);
        QCOMPARE(file.listing(), QStringList{storeName});
    }

    void aStoreIsWrittenWhereItsFileGetsNoSecondName()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"original/9"_s, u"-novid"_s);
        CallWatch watch;
        watch.fail("link", EPERM);
        QVERIFY(launch::syncStore(store));
        QCOMPARE(file.read(), twoOriginals);
    }

    void aStoreIsWrittenWithTheFirstOfAllDescriptors()
    {
        const ScratchFile file(oneOriginal, storeName);
        QSettings store(file.path(), QSettings::IniFormat);
        store.setValue(u"original/9"_s, u"-novid"_s);
        const support::FirstDescriptorFree free;
        QVERIFY(launch::syncStore(store));
        QCOMPARE(file.read(), twoOriginals);
    }

    void whatCannotBeReadIsNotThoughtToBeKept_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::newRow("the store's file") << QByteArray("read store.conf");
        QTest::newRow("the file in memory") << QByteArray("make a file in memory");
    }
    void whatCannotBeReadIsNotThoughtToBeKept()
    {
        QFETCH(const QByteArray, call);
        const ScratchFile file(oneOriginal, storeName);
        const QSettings store(file.path(), QSettings::IniFormat);
        QVERIFY(launch::isOriginalOnDisk(store, u"400"_s));
        CallWatch watch;
        watch.fail(call, EIO);
        QVERIFY(!launch::isOriginalOnDisk(store, u"400"_s));
    }

    void recoveryIsOnTheDisk()
    {
        const ScratchFile file("", storeName);
        ScratchFile::writeTo(file.beside(spareName), oneOriginal);
        QSettings store(file.path(), QSettings::IniFormat);
        const CallWatch watch;
        launch::recoverStore(store);
        QCOMPARE(watch.order(), (QByteArrayList{"rename", "sync a file", "sync a folder"}));
    }

    void recoveryLeavesBothFilesWhereACallFails_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<int>("spared");
        QTest::newRow("the store cannot be read") << QByteArray("read store.conf") << 0;
        QTest::newRow("the old file cannot be read")
            << QByteArray("read store.conf.marrow-spare") << 0;
        QTest::newRow("no file in memory for the old one")
            << QByteArray("make a file in memory") << 0;
        QTest::newRow("no file in memory for the store")
            << QByteArray("make a file in memory") << 1;
        QTest::newRow("it cannot be renamed") << QByteArray("rename") << 0;
    }
    void recoveryLeavesBothFilesWhereACallFails()
    {
        QFETCH(const QByteArray, call);
        QFETCH(const int, spared);
        const QByteArray left = "[original]\n9=-novid\n";
        const ScratchFile file(left, storeName);
        ScratchFile::writeTo(file.beside(spareName), oneOriginal);
        QSettings store(file.path(), QSettings::IniFormat);
        {
            CallWatch watch;
            watch.fail(call, EIO, -1, spared);
            launch::recoverStore(store);
        }
        QCOMPARE(file.read(), left);
        QCOMPARE(ScratchFile::readFrom(file.beside(spareName)), oneOriginal);
    }
};

QTEST_GUILESS_MAIN(TestSettingsStoreCalls)
#include "test_settingsstore_calls.moc"
