// SPDX-License-Identifier: MIT
// The GPUs that a machine's sysfs shows, and the choice between them.
#include "hw/gpuenumeration.h"
#include "support/pretendmachine.h"

#include <QDir>
#include <QTest>

using namespace Qt::StringLiterals;
using hw::GpuInfo;
using support::PretendGpu;
using support::PretendMachine;
using Connectors = QMap<QString, QString>; ///< a connector's status, by its name

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

/// The GPU that is found on the machine, which has only this one.
GpuInfo onlyGpuOf(const PretendMachine &machine)
{
    const QList<GpuInfo> gpus = gpusOf(machine);
    if (gpus.size() != 1)
        qFatal("%d GPUs are found, not one", int(gpus.size()));
    return gpus[0];
}

/// The GPU that is found on a machine with only `gpu`, and without a database of names.
GpuInfo found(const PretendGpu &gpu)
{
    const PretendMachine machine;
    machine.addGpu(gpu);
    return onlyGpuOf(machine);
}

enum Display { Dark, Connected };
enum Firmware { Other, BootVga };

GpuInfo gpu(Display display, Firmware firmware, int linkWidth = 16)
{
    GpuInfo info;
    info.hasConnectedOutput = display == Connected;
    info.bootVga = firmware == BootVga;
    info.linkWidth = linkWidth;
    return info;
}

} // namespace

class TestGpuEnumeration : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyFieldOfAGpu()
    {
        const PretendMachine machine;
        machine.writePciIds("1002  Advanced Micro Devices, Inc. [AMD/ATI]\n"
                            "\t73bf  Navi 21 [Radeon RX 6900 XT]\n");
        machine.addGpu({.card = u"card1"_s,
                        .address = u"0000:03:00.0"_s,
                        .bootVga = u"1"_s,
                        .currentLinkWidth = u"8"_s,
                        .connectors = {{u"HDMI-A-1"_s, u"connected"_s}}});
        const GpuInfo gpu = onlyGpuOf(machine);
        QCOMPARE(gpu.card, u"card1"_s);
        QCOMPARE(gpu.pciAddress, u"0000:03:00.0"_s);
        QCOMPARE(gpu.pciTag, u"pci-0000_03_00_0"_s);
        QCOMPARE(gpu.pciId, u"1002:73bf"_s);
        QCOMPARE(gpu.name, u"Navi 21 [Radeon RX 6900 XT]"_s);
        QCOMPARE(gpu.hasConnectedOutput, true);
        QCOMPARE(gpu.bootVga, true);
        QCOMPARE(gpu.linkSpeedText, u"16.0 GT/s PCIe"_s);
        QCOMPARE(gpu.linkWidth, 8);
        QCOMPARE(gpu.linkBandwidth, 15.752);
    }

    void aMachineWithoutCardsHasNoGpus()
    {
        const PretendMachine machine;
        QCOMPARE(cardsOf(machine), QStringList());
        machine.write(machine.drm() + "/version"_L1, "drm 1.1.0 20060810\n");
        QCOMPARE(cardsOf(machine), QStringList());
    }

    void cardsAreListedByNameAsText()
    {
        const PretendMachine machine;
        machine.addGpu(pretendGpu(u"card2"_s, u"0000:01:00.0"_s));
        machine.addGpu(pretendGpu(u"card10"_s, u"0000:09:00.0"_s));
        machine.addGpu(pretendGpu(u"card0"_s, u"0000:0e:00.0"_s));
        QVERIFY(QFile::link(u"card0"_s, machine.drm() + "/card3"_L1)); // it is listed twice
        QCOMPARE(cardsOf(machine), QStringList({u"card0"_s, u"card10"_s, u"card2"_s, u"card3"_s}));
    }

    void onlyCardsAreListed_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::newRow("no render node") << u"renderD128"_s;
        QTest::newRow("no connector") << u"card1-DP-1"_s;
        QTest::newRow("no card without a number") << u"card"_s;
        QTest::newRow("no capital letter") << u"Card2"_s;
        QTest::newRow("nothing before the name") << u"xcard2"_s;
        QTest::newRow("nothing after it") << u"card2x"_s;
        QTest::newRow("no line break after it") << u"card2\n"_s;
        QTest::newRow("no digits of another script") << u"card\u0662"_s;
    }
    void onlyCardsAreListed()
    {
        QFETCH(const QString, entry);
        const PretendMachine machine;
        machine.addGpu(pretendGpu(u"card1"_s));
        // It leads to the same PCI device, so only its name keeps it out.
        QVERIFY(QFile::link(u"card1"_s, machine.drm() + u'/' + entry));
        QCOMPARE(cardsOf(machine), QStringList({u"card1"_s}));
    }

    void aCardThatIsNoPciDeviceIsLeftOut_data()
    {
        QTest::addColumn<QString>("deviceTarget");
        QTest::newRow("a platform device") << u"../../../devices/platform/simple-framebuffer.0"_s;
        QTest::newRow("no device link") << u""_s;
        QTest::newRow("a device link to nothing") << u"../../../devices/gone/0000:05:00.0"_s;
    }
    void aCardThatIsNoPciDeviceIsLeftOut()
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

    void addressAndTag_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("tag");
        QTest::newRow("letters and a function") << u"0001:af:1d.7"_s << u"pci-0001_af_1d_7"_s;
        QTest::newRow("a long domain") << u"10000:e1:00.0"_s << u"pci-10000_e1_00_0"_s;
    }
    void addressAndTag()
    {
        QFETCH(const QString, address);
        const GpuInfo gpu = found(pretendGpu(u"card0"_s, address));
        QCOMPARE(gpu.pciAddress, address);
        QTEST(gpu.pciTag, "tag");
    }

    void idsAreTheNameWithoutADatabase_data()
    {
        QTest::addColumn<QString>("vendor");
        QTest::addColumn<QString>("device");
        QTest::addColumn<QString>("id");
        QTest::newRow("letter case stays") << u"0x10DE"_s << u"0x26aB"_s << u"10DE:26aB"_s;
        QTest::newRow("any two characters go") << u"10de"_s << u"2684"_s << u"de:84"_s;
        QTest::newRow("no vendor") << u""_s << u"0x2684"_s << u":2684"_s;
        QTest::newRow("no device") << u"0x10de"_s << u""_s << u"10de:"_s;
        QTest::newRow("neither") << u""_s << u""_s << u":"_s;
    }
    void idsAreTheNameWithoutADatabase()
    {
        QFETCH(const QString, vendor);
        QFETCH(const QString, device);
        QFETCH(const QString, id);
        PretendGpu gpu = pretendGpu(u"card0"_s);
        gpu.vendor = vendor;
        gpu.device = device;
        QCOMPARE(found(gpu).pciId, id);
        QCOMPARE(found(gpu).name, "GPU "_L1 + id);
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
        PretendGpu gpu = pretendGpu(u"card0"_s);
        gpu.bootVga = content;
        QTEST(found(gpu).bootVga, "bootVga");
    }

    void connectedOutput_data()
    {
        QTest::addColumn<Connectors>("connectors");
        QTest::addColumn<bool>("connected");
        QTest::newRow("no connectors") << Connectors{} << false;
        QTest::newRow("disconnected") << Connectors{{u"DP-1"_s, u"disconnected"_s}} << false;
        QTest::newRow("unknown") << Connectors{{u"VGA-1"_s, u"unknown"_s}} << false;
        QTest::newRow("with a capital letter") << Connectors{{u"DP-1"_s, u"Connected"_s}} << false;
        QTest::newRow("no status file") << Connectors{{u"DP-1"_s, u""_s}} << false;
        QTest::newRow("only the last of three") << Connectors{{u"DP-1"_s, u"disconnected"_s},
                                                              {u"DP-2"_s, u""_s},
                                                              {u"eDP-1"_s, u"connected"_s}}
                                                << true;
    }
    void connectedOutput()
    {
        QFETCH(const Connectors, connectors);
        PretendGpu gpu = pretendGpu(u"card0"_s);
        gpu.connectors = connectors;
        QTEST(found(gpu).hasConnectedOutput, "connected");
    }

    void aConnectorOfAnotherCardDoesNotCount()
    {
        const PretendMachine machine;
        machine.addGpu(pretendGpu(u"card1"_s, u"0000:01:00.0"_s));
        PretendGpu ten = pretendGpu(u"card10"_s, u"0000:02:00.0"_s);
        ten.connectors = {{u"DP-1"_s, u"connected"_s}};
        machine.addGpu(ten);
        const QList<GpuInfo> gpus = gpusOf(machine);
        QCOMPARE(gpus.size(), 2);
        QCOMPARE(gpus[0].hasConnectedOutput, false);
        QCOMPARE(gpus[1].hasConnectedOutput, true);
    }

    void linkWidth_data()
    {
        QTest::addColumn<QString>("deviceCurrent");
        QTest::addColumn<QString>("portCurrent");
        QTest::addColumn<QString>("portMaximum");
        QTest::addColumn<int>("width");
        QTest::newRow("the device's: 1 is the least") << u"1"_s << u"16"_s << u"4"_s << 1;
        QTest::newRow("the device's: 32 is the most") << u"32"_s << u"16"_s << u"4"_s << 32;
        QTest::newRow("device 0: the port's") << u"0"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device 33: the port's") << u"33"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device 255: the port's") << u"255"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device no number: the port's") << u"wide"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device past 32 bits: the port's")
            << u"4294967304"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device missing: the port's") << u""_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("port 0, too: its maximum") << u"0"_s << u"0"_s << u"4"_s << 4;
        QTest::newRow("port missing, too: its maximum") << u""_s << u""_s << u"4"_s << 4;
        QTest::newRow("all out of range") << u"0"_s << u"255"_s << u"33"_s << 0;
        QTest::newRow("all missing") << u""_s << u""_s << u""_s << 0;
    }
    void linkWidth()
    {
        QFETCH(const QString, deviceCurrent);
        QFETCH(const QString, portCurrent);
        QFETCH(const QString, portMaximum);
        PretendGpu gpu = pretendGpu(u"card0"_s);
        gpu.currentLinkWidth = deviceCurrent;
        gpu.portCurrentLinkWidth = portCurrent;
        gpu.portMaxLinkWidth = portMaximum;
        QTEST(found(gpu).linkWidth, "width");
    }

    void theDevicesOwnMaximumWidthIsNotTaken()
    {
        const PretendMachine machine;
        PretendGpu gpu = pretendGpu(u"card0"_s);
        gpu.currentLinkWidth = u"0"_s;
        machine.addGpu(gpu);
        machine.write(machine.drm() + "/card0/device/max_link_width"_L1, "16\n");
        QCOMPARE(onlyGpuOf(machine).linkWidth, 0);
    }

    void linkSpeed_data()
    {
        QTest::addColumn<QString>("deviceSpeed");
        QTest::addColumn<QString>("portSpeed");
        QTest::addColumn<QString>("width");
        QTest::addColumn<QString>("speedText");
        QTest::addColumn<double>("bandwidth");
        QTest::newRow("the device's, though the port is faster")
            << u"2.5 GT/s PCIe"_s << u"32.0 GT/s PCIe"_s << u"4"_s << u"2.5 GT/s PCIe"_s << 1.0;
        QTest::newRow("device unknown: the port's")
            << u"Unknown"_s << u"8.0 GT/s PCIe"_s << u"16"_s << u"8.0 GT/s PCIe"_s << 15.76;
        QTest::newRow("device missing: the port's")
            << u""_s << u"5.0 GT/s PCIe"_s << u"2"_s << u"5.0 GT/s PCIe"_s << 1.0;
        QTest::newRow("both unknown: the port's text")
            << u"Unknown speed"_s << u"Unknown"_s << u"16"_s << u"Unknown"_s << 0.0;
        QTest::newRow("device unknown, port missing: no text")
            << u"Unknown"_s << u""_s << u"16"_s << u""_s << 0.0;
        QTest::newRow("width unknown: no bandwidth")
            << u"16.0 GT/s PCIe"_s << u""_s << u""_s << u"16.0 GT/s PCIe"_s << 0.0;
    }
    void linkSpeed()
    {
        QFETCH(const QString, deviceSpeed);
        QFETCH(const QString, portSpeed);
        QFETCH(const QString, width);
        PretendGpu pretend = pretendGpu(u"card0"_s);
        pretend.currentLinkWidth = width;
        pretend.maxLinkSpeed = deviceSpeed;
        pretend.portMaxLinkSpeed = portSpeed;
        const GpuInfo gpu = found(pretend);
        QTEST(gpu.linkSpeedText, "speedText");
        QTEST(gpu.linkBandwidth, "bandwidth");
    }

    void theGpuThatDrivesTheDisplay_data()
    {
        QTest::addColumn<QList<GpuInfo>>("gpus");
        QTest::addColumn<int>("index");
        QTest::newRow("no GPUs") << QList<GpuInfo>{} << -1;
        QTest::newRow("one without a display") << QList{gpu(Dark, Other)} << 0;
        QTest::newRow("only the second is connected, neither is boot VGA")
            << QList{gpu(Dark, Other), gpu(Connected, Other)} << 1;
        QTest::newRow("two connected, the second is boot VGA")
            << QList{gpu(Connected, Other), gpu(Connected, BootVga)} << 1;
        QTest::newRow("two connected, both boot VGA: the first")
            << QList{gpu(Connected, BootVga), gpu(Connected, BootVga)} << 0;
        QTest::newRow("two connected, neither is boot VGA: the first, whatever the links")
            << QList{gpu(Connected, Other, 1), gpu(Connected, Other, 16)} << 0;
        QTest::newRow("boot VGA without a display does not count")
            << QList{gpu(Dark, BootVga), gpu(Connected, Other)} << 1;
        QTest::newRow("none connected: the first, though the second is boot VGA")
            << QList{gpu(Dark, Other), gpu(Dark, BootVga)} << 0;
        QTest::newRow("the first connected boot VGA of four")
            << QList{gpu(Dark, BootVga), gpu(Connected, Other), gpu(Connected, BootVga),
                     gpu(Connected, BootVga)}
            << 2;
    }
    void theGpuThatDrivesTheDisplay()
    {
        QFETCH(const QList<GpuInfo>, gpus);
        QTEST(hw::chooseCompositingGpu(gpus), "index");
    }

    void theGpuThatGamesGetByDefault_data()
    {
        QTest::addColumn<QList<int>>("linkWidths");
        QTest::addColumn<int>("compositing");
        QTest::addColumn<int>("index");
        QTest::newRow("a single GPU") << QList{16} << 0 << 0;
        QTest::newRow("the widest of the others") << QList{16, 4, 8} << 0 << 2;
        QTest::newRow("the widest of the others, in front") << QList{8, 4, 16} << 2 << 0;
        QTest::newRow("equal widths: the first") << QList{16, 8, 8} << 0 << 1;
        QTest::newRow("all widths unknown: the first other one") << QList{0, 0, 0} << 0 << 1;
        QTest::newRow("no GPUs") << QList<int>{} << -1 << -1;
    }
    void theGpuThatGamesGetByDefault()
    {
        QFETCH(const QList<int>, linkWidths);
        QFETCH(const int, compositing);
        QList<GpuInfo> gpus;
        for (const int width : linkWidths)
            gpus << gpu(Dark, Other, width);
        QTEST(hw::chooseDefaultRenderGpu(gpus, compositing), "index");
    }
};

QTEST_GUILESS_MAIN(TestGpuEnumeration)
#include "test_gpuenumeration.moc"
