// SPDX-License-Identifier: MIT
#include "steam/gamescan.h"

#include "support/pretendmachine.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using support::PretendMachine;

namespace
{

const QString manifest = u"/appmanifest_993090.acf"_s;

QString rootLibrary(const PretendMachine &machine)
{
    return machine.steamRoot() + "/steamapps"_L1;
}

} // namespace

class TestLosslessScaling : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noSteam()
    {
        const PretendMachine machine;
        QCOMPARE(steam::findLosslessScalingDll(), u""_s);
    }

    void notInstalled()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"620"_s, u"Portal 2"_s);
        QCOMPARE(steam::findLosslessScalingDll(), u""_s);
    }

    void inTheRootLibrary()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.installLosslessScaling();
        QCOMPARE(steam::findLosslessScalingDll(),
                 rootLibrary(machine) + "/common/Lossless Scaling/Lossless.dll"_L1);
    }

    void inTheSecondLibraryOnly()
    {
        PretendMachine machine;
        machine.installSteam();
        const QString disk = machine.addLibrary(u"disk"_s);
        machine.installLosslessScaling(disk);
        QCOMPARE(steam::findLosslessScalingDll(),
                 machine.root() + "/disk/steamapps/common/Lossless Scaling/Lossless.dll"_L1);
    }

    void theFirstLibraryWins()
    {
        PretendMachine machine;
        machine.installSteam();
        const QString first = machine.addLibrary(u"z-disk"_s);
        machine.installLosslessScaling(machine.addLibrary(u"a-disk"_s));
        machine.installLosslessScaling(first);
        QCOMPARE(steam::findLosslessScalingDll(),
                 machine.root() + "/z-disk/steamapps/common/Lossless Scaling/Lossless.dll"_L1);
    }

    void manifestWithoutTheFile()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.installLosslessScaling();
        QVERIFY(QFile::remove(steam::findLosslessScalingDll()));
        QCOMPARE(steam::findLosslessScalingDll(), u""_s);
    }

    void fileWithoutTheManifest()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.installLosslessScaling();
        machine.removeGame(u"993090"_s);
        QCOMPARE(steam::findLosslessScalingDll(), u""_s);
    }

    void manifestWithoutTheFileInTheFirstLibrary()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"993090"_s, u"Lossless Scaling"_s); // the manifest alone
        machine.installLosslessScaling(machine.addLibrary(u"disk"_s));
        QCOMPARE(steam::findLosslessScalingDll(),
                 machine.root() + "/disk/steamapps/common/Lossless Scaling/Lossless.dll"_L1);
    }

    void manifestWithoutFolderInTheFirstLibrary()
    {
        PretendMachine machine;
        machine.installSteam();
        machine.write(rootLibrary(machine) + manifest, "\"name\" \"Lossless Scaling\"");
        machine.installLosslessScaling(machine.addLibrary(u"disk"_s));
        QCOMPARE(steam::findLosslessScalingDll(),
                 machine.root() + "/disk/steamapps/common/Lossless Scaling/Lossless.dll"_L1);
    }

    void folderOfTheManifest_data()
    {
        // The folders "LS", "LS 2" and "Ü" hold a Lossless.dll, the folder "lower" a lossless.dll.
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("folder"); // below "common"; none when empty
        QTest::newRow("plain") << QByteArray("\"installdir\"\t\t\"LS\"") << u"LS"_s;
        QTest::newRow("no space") << QByteArray("\"installdir\"\"LS\"") << u"LS"_s;
        QTest::newRow("blanks of all kinds")
            << QByteArray("\"installdir\" \t\n\v\f\r\"LS\"") << u"LS"_s;
        QTest::newRow("the first counts")
            << QByteArray("\"installdir\" \"LS 2\" \"installdir\" \"LS\"") << u"LS 2"_s;
        QTest::newRow("UTF-8") << QByteArray("\"installdir\" \"Ü\"") << u"Ü"_s;
        QTest::newRow("other letter case") << QByteArray("\"InstallDir\" \"LS\"") << u""_s;
        QTest::newRow("only the first is tried")
            << QByteArray("\"installdir\" \"missing\" \"installdir\" \"LS\"") << u""_s;
        QTest::newRow("cut") << QByteArray("\"installdir\" \"LS") << u""_s;
        QTest::newRow("file in other letter case")
            << QByteArray("\"installdir\" \"lower\"") << u""_s;
        QTest::newRow("empty manifest") << QByteArray() << u""_s;
    }
    void folderOfTheManifest()
    {
        QFETCH(QByteArray, content);
        QFETCH(QString, folder);
        PretendMachine machine;
        machine.installSteam();
        const QString common = rootLibrary(machine) + "/common/"_L1;
        for (const QString &name : {u"LS"_s, u"LS 2"_s, u"Ü"_s})
            machine.write(common + name + "/Lossless.dll"_L1, "MZ");
        machine.write(common + "lower/lossless.dll"_L1, "MZ");
        machine.write(rootLibrary(machine) + manifest, content);
        QCOMPARE(steam::findLosslessScalingDll(),
                 folder.isEmpty() ? QString() : common + folder + "/Lossless.dll"_L1);
    }
};

QTEST_GUILESS_MAIN(TestLosslessScaling)
#include "test_losslessscaling.moc"
