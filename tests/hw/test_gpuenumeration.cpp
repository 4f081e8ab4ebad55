// SPDX-License-Identifier: MIT
#include "hw/gpuenumeration.h"
#include "support/pretendmachine.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;
using hw::GpuInfo;
using support::PretendGpu;
using support::PretendMachine;

namespace
{

QList<GpuInfo> gpusOf(const PretendMachine &machine)
{
    return hw::enumerateGpus(machine.drm(), {machine.hwdata() + "/pci.ids"_L1});
}

QStringList cardsOf(const PretendMachine &machine)
{
    QStringList cards;
    for (const GpuInfo &gpu : gpusOf(machine))
        cards << gpu.card;
    return cards;
}

PretendGpu pretendGpu(const QString &card, const QString &address = u"0000:03:00.0"_s)
{
    return {.card = card, .address = address};
}

} // namespace

class TestGpuEnumeration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFieldOfOneGpu()
    {
        const PretendMachine machine;
        machine.writePciIds("1002  Advanced Micro Devices, Inc. [AMD/ATI]\n"
                            "\t73bf  Navi 21 [Radeon RX 6900 XT]\n");
        PretendGpu gpu = pretendGpu(u"card1"_s);
        gpu.vendor = u"0x1002"_s;
        gpu.device = u"0x73bf"_s;
        gpu.bootVga = u"1"_s;
        gpu.currentLinkWidth = u"8"_s;
        gpu.maxLinkSpeed = u"16.0 GT/s PCIe"_s;
        gpu.connectors = {{u"DP-1"_s, u"disconnected"_s}, {u"HDMI-A-1"_s, u"connected"_s}};
        machine.addGpu(gpu);

        const QList<GpuInfo> gpus = gpusOf(machine);
        QCOMPARE(gpus.size(), 1);
        QCOMPARE(gpus[0].card, u"card1"_s);
        QCOMPARE(gpus[0].pciAddress, u"0000:03:00.0"_s);
        QCOMPARE(gpus[0].pciTag, u"pci-0000_03_00_0"_s);
        QCOMPARE(gpus[0].pciId, u"1002:73bf"_s);
        QCOMPARE(gpus[0].name, u"Navi 21 [Radeon RX 6900 XT]"_s);
        QCOMPARE(gpus[0].hasConnectedOutput, true);
        QCOMPARE(gpus[0].bootVga, true);
        QCOMPARE(gpus[0].linkSpeedText, u"16.0 GT/s PCIe"_s);
        QCOMPARE(gpus[0].linkWidth, 8);
        QCOMPARE(gpus[0].linkBandwidth, 15.752);
    }

    void noDrmClass()
    {
        const PretendMachine machine;
        QCOMPARE(cardsOf(machine), QStringList());
    }

    void noCards()
    {
        const PretendMachine machine;
        machine.write(machine.drm() + "/version"_L1, "drm 1.1.0 20060810\n");
        QCOMPARE(cardsOf(machine), QStringList());
    }

    void orderIsByNameAsText()
    {
        const PretendMachine machine;
        machine.addGpu(pretendGpu(u"card2"_s, u"0000:01:00.0"_s));
        machine.addGpu(pretendGpu(u"card10"_s, u"0000:09:00.0"_s));
        machine.addGpu(pretendGpu(u"card0"_s, u"0000:0e:00.0"_s));
        QCOMPARE(cardsOf(machine), QStringList({u"card0"_s, u"card10"_s, u"card2"_s}));
    }

    void entriesThatAreNoCardsAreLeftOut_data()
    {
        QTest::addColumn<QString>("entry");

        QTest::newRow("render node") << u"renderD128"_s;
        QTest::newRow("connector") << u"card1-DP-1"_s;
        QTest::newRow("no number") << u"card"_s;
        QTest::newRow("capital letter") << u"Card2"_s;
        QTest::newRow("something in front") << u"xcard2"_s;
        QTest::newRow("something behind") << u"card2x"_s;
        QTest::newRow("line break behind") << u"card2\n"_s;
        QTest::newRow("digits of another script") << u"card\u0662"_s;
    }
    void entriesThatAreNoCardsAreLeftOut()
    {
        QFETCH(const QString, entry);
        const PretendMachine machine;
        machine.addGpu(pretendGpu(u"card1"_s));
        // The same PCI device is behind it: only its name keeps it out.
        QVERIFY(QFile::link(u"card1"_s, machine.drm() + u'/' + entry));
        QCOMPARE(cardsOf(machine), QStringList({u"card1"_s}));
    }

    void cardThatIsNoPciDeviceIsLeftOut_data()
    {
        QTest::addColumn<QString>("deviceTarget");

        QTest::newRow("platform device") << u"../../../devices/platform/simple-framebuffer.0"_s;
        QTest::newRow("no device link") << u""_s;
        QTest::newRow("dangling device link") << u"../../../devices/gone/0000:05:00.0"_s;
    }
    void cardThatIsNoPciDeviceIsLeftOut()
    {
        QFETCH(const QString, deviceTarget);
        const PretendMachine machine;
        machine.addGpu(pretendGpu(u"card1"_s));
        machine.write(u"sys/devices/platform/simple-framebuffer.0/vendor"_s, "0x1002\n");
        QDir().mkpath(machine.drm() + "/card0"_L1);
        if (!deviceTarget.isEmpty())
            QVERIFY(QFile::link(deviceTarget, machine.drm() + "/card0/device"_L1));
        QCOMPARE(cardsOf(machine), QStringList({u"card1"_s}));
    }

    void oneGpuTwiceIsListedTwice()
    {
        const PretendMachine machine;
        machine.addGpu(pretendGpu(u"card1"_s));
        QVERIFY(QFile::link(u"card1"_s, machine.drm() + "/card3"_L1));
        QCOMPARE(cardsOf(machine), QStringList({u"card1"_s, u"card3"_s}));
    }

    void pciTag_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("tag");

        QTest::newRow("usual") << u"0000:03:00.0"_s << u"pci-0000_03_00_0"_s;
        QTest::newRow("letters and a function") << u"0001:af:1d.7"_s << u"pci-0001_af_1d_7"_s;
        QTest::newRow("long domain") << u"10000:e1:00.0"_s << u"pci-10000_e1_00_0"_s;
    }
    void pciTag()
    {
        QFETCH(const QString, address);
        const PretendMachine machine;
        machine.addGpu(pretendGpu(u"card0"_s, address));
        const QList<GpuInfo> gpus = gpusOf(machine);
        QCOMPARE(gpus.size(), 1);
        QCOMPARE(gpus[0].pciAddress, address);
        QTEST(gpus[0].pciTag, "tag");
    }

    void pciId_data()
    {
        QTest::addColumn<QString>("vendor");
        QTest::addColumn<QString>("device");
        QTest::addColumn<QString>("id");
        QTest::addColumn<QString>("name");

        QTest::newRow("usual") << u"0x10de"_s << u"0x2684"_s << u"10de:2684"_s
                               << u"GPU 10de:2684"_s;
        QTest::newRow("letter case is kept")
            << u"0x10DE"_s << u"0x26aB"_s << u"10DE:26aB"_s << u"GPU 10DE:26aB"_s;
        QTest::newRow("two characters go, whichever they are")
            << u"10de"_s << u"2684"_s << u"de:84"_s << u"GPU de:84"_s;
        QTest::newRow("no vendor") << u""_s << u"0x2684"_s << u":2684"_s << u"GPU :2684"_s;
        QTest::newRow("no device") << u"0x10de"_s << u""_s << u"10de:"_s << u"GPU 10de:"_s;
        QTest::newRow("neither") << u""_s << u""_s << u":"_s << u"GPU :"_s;
    }
    void pciId()
    {
        QFETCH(const QString, vendor);
        QFETCH(const QString, device);
        const PretendMachine machine;
        PretendGpu gpu = pretendGpu(u"card0"_s);
        gpu.vendor = vendor;
        gpu.device = device;
        machine.addGpu(gpu);
        const QList<GpuInfo> gpus = gpusOf(machine);
        QCOMPARE(gpus.size(), 1);
        QTEST(gpus[0].pciId, "id");
        QTEST(gpus[0].name, "name"); // there is no database
    }

    void bootVga_data()
    {
        QTest::addColumn<QString>("content");
        QTest::addColumn<bool>("bootVga");

        QTest::newRow("1") << u"1"_s << true;
        QTest::newRow("0") << u"0"_s << false;
        QTest::newRow("no file") << u""_s << false;
        QTest::newRow("another number") << u"11"_s << false;
    }
    void bootVga()
    {
        QFETCH(const QString, content);
        const PretendMachine machine;
        PretendGpu gpu = pretendGpu(u"card0"_s);
        gpu.bootVga = content;
        machine.addGpu(gpu);
        const QList<GpuInfo> gpus = gpusOf(machine);
        QCOMPARE(gpus.size(), 1);
        QTEST(gpus[0].bootVga, "bootVga");
    }

    void hasConnectedOutput_data()
    {
        using Connectors = QMap<QString, QString>;
        QTest::addColumn<Connectors>("connectors");
        QTest::addColumn<bool>("connected");

        QTest::newRow("no connectors") << Connectors{} << false;
        QTest::newRow("connected") << Connectors{{u"DP-1"_s, u"connected"_s}} << true;
        QTest::newRow("disconnected") << Connectors{{u"DP-1"_s, u"disconnected"_s}} << false;
        QTest::newRow("unknown") << Connectors{{u"VGA-1"_s, u"unknown"_s}} << false;
        QTest::newRow("another letter case") << Connectors{{u"DP-1"_s, u"Connected"_s}} << false;
        QTest::newRow("no status file") << Connectors{{u"DP-1"_s, u""_s}} << false;
        QTest::newRow("the last of three") << Connectors{{u"DP-1"_s, u"disconnected"_s},
                                                         {u"DP-2"_s, u""_s},
                                                         {u"eDP-1"_s, u"connected"_s}}
                                           << true;
    }
    void hasConnectedOutput()
    {
        using Connectors = QMap<QString, QString>;
        QFETCH(const Connectors, connectors);
        const PretendMachine machine;
        PretendGpu gpu = pretendGpu(u"card0"_s);
        gpu.connectors = connectors;
        machine.addGpu(gpu);
        const QList<GpuInfo> gpus = gpusOf(machine);
        QCOMPARE(gpus.size(), 1);
        QTEST(gpus[0].hasConnectedOutput, "connected");
    }

    void connectorOfAnotherCardDoesNotCount()
    {
        const PretendMachine machine;
        PretendGpu one = pretendGpu(u"card1"_s, u"0000:01:00.0"_s);
        one.connectors = {{u"DP-1"_s, u"disconnected"_s}};
        PretendGpu ten = pretendGpu(u"card10"_s, u"0000:02:00.0"_s);
        ten.connectors = {{u"DP-1"_s, u"connected"_s}};
        machine.addGpu(one);
        machine.addGpu(ten);
        const QList<GpuInfo> gpus = gpusOf(machine);
        QCOMPARE(gpus.size(), 2);
        QCOMPARE(gpus[0].card, u"card1"_s);
        QCOMPARE(gpus[0].hasConnectedOutput, false);
        QCOMPARE(gpus[1].card, u"card10"_s);
        QCOMPARE(gpus[1].hasConnectedOutput, true);
    }

    void everythingUnreadable()
    {
        const PretendMachine machine;
        machine.addGpu({.card = u"card0"_s,
                        .address = u"0000:03:00.0"_s,
                        .vendor = {},
                        .device = {},
                        .bootVga = {},
                        .currentLinkWidth = {},
                        .maxLinkSpeed = {}});
        const QList<GpuInfo> gpus = gpusOf(machine);
        QCOMPARE(gpus.size(), 1);
        QCOMPARE(gpus[0].pciAddress, u"0000:03:00.0"_s);
        QCOMPARE(gpus[0].pciId, u":"_s);
        QCOMPARE(gpus[0].name, u"GPU :"_s);
        QCOMPARE(gpus[0].hasConnectedOutput, false);
        QCOMPARE(gpus[0].bootVga, false);
        QCOMPARE(gpus[0].linkSpeedText, u""_s);
        QCOMPARE(gpus[0].linkWidth, 0);
        QCOMPARE(gpus[0].linkBandwidth, 0.0);
    }

    void readSysfsText_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("text");

        QTest::newRow("a line") << QByteArray("0x1002\n") << u"0x1002"_s;
        QTest::newRow("white space around it") << QByteArray(" \t16 \r\n\n") << u"16"_s;
        QTest::newRow("white space inside stays")
            << QByteArray("8.0 GT/s\nPCIe") << u"8.0 GT/s\nPCIe"_s;
        QTest::newRow("Latin-1") << QByteArray("caf\xE9\n") << u"café"_s;
        QTest::newRow("UTF-8 is not decoded") << QByteArray("caf\xC3\xA9") << u"cafÃ©"_s;
        QTest::newRow("empty") << QByteArray("") << u""_s;
    }
    void readSysfsText()
    {
        QFETCH(const QByteArray, content);
        const PretendMachine machine;
        machine.write(u"sys/attribute"_s, content);
        QTEST(hw::readSysfsText(machine.root() + "/sys/attribute"_L1), "text");
        QCOMPARE(hw::readSysfsText(machine.root() + "/sys/missing"_L1), u""_s);
    }
};

QTEST_GUILESS_MAIN(TestGpuEnumeration)
#include "test_gpuenumeration.moc"
