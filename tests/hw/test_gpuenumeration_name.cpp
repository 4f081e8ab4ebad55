// SPDX-License-Identifier: MIT
// A device's name in the PCI ID database, and the text of a sysfs file.
#include "hw/gpuenumeration.h"
#include "support/pretendmachine.h"

#include <QTest>

using namespace Qt::StringLiterals;
using support::PretendMachine;

namespace
{

const QByteArray database = "#\n"
                            "#\tList of PCI ID's\n"
                            "#\n"
                            "\n"
                            "1002  Advanced Micro Devices, Inc. [AMD/ATI]\n"
                            "\t164e  Raphael\n"
                            "# 10de  commented out\n"
                            "\t73bf  Navi 21 [Radeon RX 6800/6800 XT / 6900 XT]\n"
                            "\t\t1002 0e3a  Radeon RX 6900 XT\n"
                            "\t\t148c 2408  Red Devil AMD Radeon RX 6900 XT\n"
                            " \n"
                            "\n"
                            "\t744C  Navi 31 [Radeon RX 7900 XT]\n"
                            "10de  NVIDIA Corporation\n"
                            "\t2684  AD102 [GeForce RTX 4090]\n"
                            "\t\t10de 164e  Founders' Edition\n"
                            "8086  Intel Corporation\n"
                            "\t56a0  DG2 [Arc A770 \xAE]\n"
                            "\t73bf  not the one\n"
                            "9999  Vendor whose first line is a subsystem\n"
                            "\t\t1002 0001  no device\n"
                            "\t0002  a device\n"
                            "C 03  Display controller\n"
                            "\t00  VGA compatible controller\n"
                            "\t\t00  VGA controller\n";

} // namespace

class TestGpuEnumerationName : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nameOfADevice_data()
    {
        QTest::addColumn<QString>("vendor");
        QTest::addColumn<QString>("device");
        QTest::addColumn<QString>("name");

        QTest::newRow("a vendor's first device") << u"1002"_s << u"164e"_s << u"Raphael"_s;
        QTest::newRow("after a comment")
            << u"1002"_s << u"73bf"_s << u"Navi 21 [Radeon RX 6800/6800 XT / 6900 XT]"_s;
        QTest::newRow("after subsystems, blank and empty lines; other letter case")
            << u"1002"_s << u"744c"_s << u"Navi 31 [Radeon RX 7900 XT]"_s;
        QTest::newRow("the second vendor, in other letter case")
            << u"10DE"_s << u"2684"_s << u"AD102 [GeForce RTX 4090]"_s;
        QTest::newRow("a letter in Latin-1") << u"8086"_s << u"56A0"_s << u"DG2 [Arc A770 ®]"_s;
        QTest::newRow("an id that two vendors use") << u"8086"_s << u"73bf"_s << u"not the one"_s;
        QTest::newRow("a device of another vendor") << u"10de"_s << u"164e"_s << u""_s;
        QTest::newRow("a subsystem is no device") << u"1002"_s << u"148c"_s << u""_s;
        QTest::newRow("an unknown vendor") << u"ffff"_s << u"73bf"_s << u""_s;
        QTest::newRow("no device id: the vendor's first device line, no subsystem")
            << u"9999"_s << u""_s << u"0002  a device"_s;
        QTest::newRow("no vendor id: any vendor")
            << u""_s << u"2684"_s << u"AD102 [GeForce RTX 4090]"_s;
        QTest::newRow("neither: the first device line") << u""_s << u""_s << u"164e  Raphael"_s;
    }
    void nameOfADevice()
    {
        QFETCH(const QString, vendor);
        QFETCH(const QString, device);
        const PretendMachine machine;
        machine.writePciIds(database);
        QTEST(hw::lookupPciName(vendor, device, {machine.hwdata() + "/pci.ids"_L1}), "name");
    }

    void filesAreReadInTurn_data()
    {
        QTest::addColumn<QByteArrayList>("files"); // a null one does not exist
        QTest::addColumn<QString>("name");

        const QByteArray first = "1002  AMD\n\t73bf  first\n";
        const QByteArray second = "1002  AMD\n\t73bf  second\n";
        const QByteArray vendorOnly = "1002  AMD\n\t164e  Raphael\n";
        QTest::newRow("the first file wins") << QByteArrayList{first, second} << u"first"_s;
        QTest::newRow("the first file is empty") << QByteArrayList{"", second} << u"second"_s;
        QTest::newRow("the first is missing, the second knows only the vendor")
            << QByteArrayList{QByteArray(), vendorOnly, first} << u"first"_s;
        QTest::newRow("the vendor of one file does not count in the next")
            << QByteArrayList{vendorOnly, "\t73bf  orphan\n"} << u""_s;
        QTest::newRow("no file exists") << QByteArrayList{QByteArray(), QByteArray()} << u""_s;
        QTest::newRow("no line break at the file's end")
            << QByteArrayList{"1002  AMD\n\t73bf  last line"} << u"last line"_s;
        QTest::newRow("no line break at the end of a file that does not know it")
            << QByteArrayList{"1002  AMD\n\t164e  Raphael", second} << u"second"_s;
        QTest::newRow("line breaks of another system")
            << QByteArrayList{"1002  AMD\r\n\r\n\t73bf  first\r\n"} << u"first"_s;
    }
    void filesAreReadInTurn()
    {
        QFETCH(const QByteArrayList, files);
        const PretendMachine machine;
        QStringList paths;
        for (const QByteArray &content : files) {
            paths << machine.root() + "/ids"_L1 + QString::number(paths.size());
            if (!content.isNull())
                machine.write(paths.last(), content);
        }
        QTEST(hw::lookupPciName(u"1002"_s, u"73bf"_s, paths), "name");
    }

    void filesOfTheDistributions()
    {
        QCOMPARE(hw::pciIdFiles(),
                 QStringList({u"/usr/share/hwdata/pci.ids"_s, u"/usr/share/misc/pci.ids"_s,
                              u"/var/lib/pciutils/pci.ids"_s}));
    }

    void textOfASysfsFile_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("text");
        QTest::newRow("white space around it goes") << QByteArray(" \t16 \r\n\n") << u"16"_s;
        QTest::newRow("white space inside stays")
            << QByteArray("8.0 GT/s\nPCIe") << u"8.0 GT/s\nPCIe"_s;
        QTest::newRow("Latin-1, not UTF-8") << QByteArray("caf\xC3\xA9") << u"cafÃ©"_s;
        QTest::newRow("empty") << QByteArray("") << u""_s;
    }
    void textOfASysfsFile()
    {
        QFETCH(const QByteArray, content);
        const PretendMachine machine;
        machine.write(u"sys/attribute"_s, content);
        QTEST(hw::readSysfsText(machine.root() + "/sys/attribute"_L1), "text");
        QCOMPARE(hw::readSysfsText(machine.root() + "/sys/missing"_L1), u""_s);
    }
};

QTEST_GUILESS_MAIN(TestGpuEnumerationName)
#include "test_gpuenumeration_name.moc"
