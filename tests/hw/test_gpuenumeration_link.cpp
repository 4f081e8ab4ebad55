// SPDX-License-Identifier: MIT
#include "hw/gpuenumeration.h"
#include "support/pretendmachine.h"

#include <QTest>

using namespace Qt::StringLiterals;
using hw::GpuInfo;
using support::PretendGpu;
using support::PretendMachine;

class TestGpuEnumerationLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linkWidth_data()
    {
        QTest::addColumn<QString>("deviceCurrent");
        QTest::addColumn<QString>("portCurrent");
        QTest::addColumn<QString>("portMaximum");
        QTest::addColumn<int>("width");

        QTest::newRow("device first") << u"8"_s << u"16"_s << u"4"_s << 8;
        QTest::newRow("least") << u"1"_s << u"16"_s << u"16"_s << 1;
        QTest::newRow("most") << u"32"_s << u"16"_s << u"16"_s << 32;
        QTest::newRow("device 0: the port's current") << u"0"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device 255: the port's current") << u"255"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device 33: the port's current") << u"33"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device negative") << u"-8"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device no number") << u"wide"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device number with more behind") << u"8 lanes"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device hexadecimal") << u"0x8"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device past 32 bits") << u"4294967304"_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("device missing") << u""_s << u"16"_s << u"4"_s << 16;
        QTest::newRow("port's current 0: its maximum") << u"0"_s << u"0"_s << u"4"_s << 4;
        QTest::newRow("port's current 255: its maximum") << u"255"_s << u"255"_s << u"4"_s << 4;
        QTest::newRow("port's current missing: its maximum") << u""_s << u""_s << u"4"_s << 4;
        QTest::newRow("all out of range") << u"0"_s << u"255"_s << u"33"_s << 0;
        QTest::newRow("all missing") << u""_s << u""_s << u""_s << 0;
    }
    void linkWidth()
    {
        QFETCH(const QString, deviceCurrent);
        QFETCH(const QString, portCurrent);
        QFETCH(const QString, portMaximum);
        const PretendMachine machine;
        machine.addGpu({.card = u"card0"_s,
                        .address = u"0000:03:00.0"_s,
                        .currentLinkWidth = deviceCurrent,
                        .portCurrentLinkWidth = portCurrent,
                        .portMaxLinkWidth = portMaximum});
        const QList<GpuInfo> gpus = hw::enumerateGpus(machine.drm(), {});
        QCOMPARE(gpus.size(), 1);
        QTEST(gpus[0].linkWidth, "width");
    }

    void ownMaximumWidthIsNotAsked()
    {
        const PretendMachine machine;
        machine.addGpu(
            {.card = u"card0"_s, .address = u"0000:03:00.0"_s, .currentLinkWidth = u"0"_s});
        machine.write(machine.drm() + "/card0/device/max_link_width"_L1, "16\n");
        const QList<GpuInfo> gpus = hw::enumerateGpus(machine.drm(), {});
        QCOMPARE(gpus.size(), 1);
        QCOMPARE(gpus[0].linkWidth, 0);
    }

    void linkSpeed_data()
    {
        QTest::addColumn<QString>("deviceSpeed");
        QTest::addColumn<QString>("portSpeed");
        QTest::addColumn<QString>("width");
        QTest::addColumn<QString>("speedText");
        QTest::addColumn<double>("bandwidth");

        QTest::newRow("device first") << u"16.0 GT/s PCIe"_s << u"8.0 GT/s PCIe"_s << u"16"_s
                                      << u"16.0 GT/s PCIe"_s << 31.504;
        QTest::newRow("slow device before a fast port")
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
        const PretendMachine machine;
        machine.addGpu({.card = u"card0"_s,
                        .address = u"0000:03:00.0"_s,
                        .currentLinkWidth = width,
                        .maxLinkSpeed = deviceSpeed,
                        .portMaxLinkSpeed = portSpeed});
        const QList<GpuInfo> gpus = hw::enumerateGpus(machine.drm(), {});
        QCOMPARE(gpus.size(), 1);
        QTEST(gpus[0].linkSpeedText, "speedText");
        QTEST(gpus[0].linkBandwidth, "bandwidth");
    }
};

QTEST_GUILESS_MAIN(TestGpuEnumerationLink)
#include "test_gpuenumeration_link.moc"
