// SPDX-License-Identifier: MIT
// A run of the program was killed while the store's new file took the place of the old one, which
// has a second name meanwhile.
#include "launch/settingsstore.h"
#include "support/pretendmachine.h"

#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QTest>

using namespace Qt::StringLiterals;
using support::PretendMachine;

namespace
{

const QByteArray oldFile = "[config]\n9\\caphz=60\n\n[original]\n9=-novid\n";

} // namespace

class TestSettingsStoreRecovery : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theFileAfterAKill_data();
    void theFileAfterAKill();
    void nothingToRecover();
};

void TestSettingsStoreRecovery::theFileAfterAKill_data()
{
    QTest::addColumn<std::optional<QByteArray>>("left");
    QTest::addColumn<QByteArray>("expected");

    using Left = std::optional<QByteArray>;
    QTest::newRow("emptied") << Left("") << oldFile;
    QTest::newRow("cut short") << Left("[config]\n9\\caphz=60\n\n[orig") << oldFile;
    QTest::newRow("gone") << Left() << oldFile;
    QTest::newRow("without a game's settings") << Left("[original]\n9=-novid\n") << oldFile;
    QTest::newRow("with other launch options")
        << Left("[config]\n9\\caphz=60\n\n[original]\n9=-no\n") << oldFile;
    const QByteArray more = "[config]\n9\\caphz=90\n\n[original]\n9=-novid\n10=-high\n";
    QTest::newRow("written whole") << Left(more) << more;
    QTest::newRow("not begun") << Left(oldFile) << oldFile;
}

void TestSettingsStoreRecovery::theFileAfterAKill()
{
    QFETCH(const std::optional<QByteArray>, left);
    QFETCH(const QByteArray, expected);
    const PretendMachine machine;
    machine.write(machine.storePath() + ".marrow-spare"_L1, oldFile);
    if (left)
        machine.write(machine.storePath(), *left);

    QSettings store(machine.storePath(), QSettings::IniFormat);
    launch::recoverStore(store);
    QCOMPARE(launch::originalLaunchOptions(store, u"9"_s), u"-novid"_s);
    QCOMPARE(machine.read(machine.storePath()), expected);
    QCOMPARE(QFileInfo(machine.storePath()).dir().entryList(QDir::Files | QDir::Hidden),
             QStringList{u"Marrowpulse.conf"_s});
}

void TestSettingsStoreRecovery::nothingToRecover()
{
    const PretendMachine machine;
    QSettings store(machine.storePath(), QSettings::IniFormat);
    launch::recoverStore(store);
    QVERIFY(!QFile::exists(machine.storePath()));

    machine.write(machine.storePath(), oldFile);
    launch::recoverStore(store);
    QCOMPARE(machine.read(machine.storePath()), oldFile);
}

QTEST_GUILESS_MAIN(TestSettingsStoreRecovery)
#include "test_settingsstore_recovery.moc"
