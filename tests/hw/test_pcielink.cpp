// SPDX-License-Identifier: MIT
#include "hw/pcielink.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestPcieLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void pcieLaneBandwidth_data()
    {
        QTest::addColumn<QString>("speedText");
        QTest::addColumn<double>("gigabytesPerSecond");

        QTest::newRow("generation 1") << u"2.5 GT/s PCIe"_s << 0.25;
        QTest::newRow("generation 2") << u"5.0 GT/s PCIe"_s << 0.5;
        QTest::newRow("generation 3") << u"8.0 GT/s PCIe"_s << 0.985;
        QTest::newRow("generation 4") << u"16.0 GT/s PCIe"_s << 1.969;
        QTest::newRow("generation 5") << u"32.0 GT/s PCIe"_s << 3.938;
        QTest::newRow("generation 6") << u"64.0 GT/s PCIe"_s << 7.563;
        QTest::newRow("only the start of the text counts") << u"8.0 whatever"_s << 0.985;
        QTest::newRow("the number alone") << u"16.0"_s << 1.969;
        QTest::newRow("unknown generation") << u"128.0 GT/s"_s << 0.0;
        QTest::newRow("number without its tenths") << u"8 GT/s PCIe"_s << 0.0;
        QTest::newRow("not trimmed") << u" 8.0 GT/s PCIe"_s << 0.0;
        QTest::newRow("the kernel's word for no speed") << u"Unknown"_s << 0.0;
        QTest::newRow("only PCIe") << u"PCIe"_s << 0.0;
        QTest::newRow("empty") << u""_s << 0.0;
    }
    void pcieLaneBandwidth()
    {
        QFETCH(const QString, speedText);
        QTEST(hw::pcieLaneBandwidth(speedText), "gigabytesPerSecond");
    }

    void gpuDisplayName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("pciId");
        QTest::addColumn<QString>("displayName");

        QTest::newRow("name and ids") << u"Navi 21 [Radeon RX 6900 XT]"_s << u"1002:73bf"_s
                                      << u"Navi 21 [Radeon RX 6900 XT] (1002:73bf)"_s;
        QTest::newRow("the ids twice without a name in the database")
            << u"GPU 1002:73bf"_s << u"1002:73bf"_s << u"GPU 1002:73bf (1002:73bf)"_s;
        QTest::newRow("a percent sign in the name is not filled in")
            << u"Card %2 of %1"_s << u"1002:73bf"_s << u"Card %2 of %1 (1002:73bf)"_s;
        QTest::newRow("empty ids") << u"GPU :"_s << u":"_s << u"GPU : (:)"_s;
    }
    void gpuDisplayName()
    {
        hw::GpuInfo gpu;
        QFETCH(QString, name);
        QFETCH(QString, pciId);
        gpu.name = name;
        gpu.pciId = pciId;
        QTEST(hw::gpuDisplayName(gpu), "displayName");
    }

    void linkDescription_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<QString>("speedText");
        QTest::addColumn<double>("bandwidth");
        QTest::addColumn<QString>("description");

        QTest::newRow("x16 of generation 3")
            << 16 << u"8.0 GT/s PCIe"_s << 15.76 << u"PCIe x16 @ 8.0 GT/s (~15.76 GB/s)"_s;
        QTest::newRow("x4 of generation 4")
            << 4 << u"16.0 GT/s PCIe"_s << 7.876 << u"PCIe x4 @ 16.0 GT/s (~7.88 GB/s)"_s;
        QTest::newRow("x1") << 1 << u"2.5 GT/s PCIe"_s << 0.25
                            << u"PCIe x1 @ 2.5 GT/s (~0.25 GB/s)"_s;
        QTest::newRow("two decimals")
            << 8 << u"16.0 GT/s PCIe"_s << 15.752 << u"PCIe x8 @ 16.0 GT/s (~15.75 GB/s)"_s;
        QTest::newRow("a hundred and more")
            << 16 << u"64.0 GT/s PCIe"_s << 121.008 << u"PCIe x16 @ 64.0 GT/s (~121.01 GB/s)"_s;
        QTest::newRow("speed that is only PCIe")
            << 8 << u"PCIe"_s << 0.0 << u"PCIe x8 @ ? (~0.00 GB/s)"_s;
        QTest::newRow("empty speed") << 8 << u""_s << 0.0 << u"PCIe x8 @ ? (~0.00 GB/s)"_s;
        QTest::newRow("unknown speed is shown")
            << 8 << u"Unknown"_s << 0.0 << u"PCIe x8 @ Unknown (~0.00 GB/s)"_s;
        QTest::newRow("no PCIe at the end")
            << 16 << u"8.0 GT/s"_s << 15.76 << u"PCIe x16 @ 8.0 GT/s (~15.76 GB/s)"_s;
        QTest::newRow("white space around PCIe goes")
            << 16 << u"8.0 GT/s \t PCIe  "_s << 15.76 << u"PCIe x16 @ 8.0 GT/s (~15.76 GB/s)"_s;
        QTest::newRow("PCIe elsewhere stays")
            << 16 << u"PCIe 8.0 GT/s"_s << 0.0 << u"PCIe x16 @ PCIe 8.0 GT/s (~0.00 GB/s)"_s;
        QTest::newRow("PCIe in another case stays")
            << 16 << u"8.0 GT/s pcie"_s << 15.76 << u"PCIe x16 @ 8.0 GT/s pcie (~15.76 GB/s)"_s;
        QTest::newRow("width 0 with a known speed")
            << 0 << u"8.0 GT/s PCIe"_s << 0.0 << u"link unknown"_s;
        QTest::newRow("negative width") << -1 << u"8.0 GT/s PCIe"_s << 0.0 << u"link unknown"_s;
    }
    void linkDescription()
    {
        QFETCH(const int, width);
        QFETCH(const QString, speedText);
        QFETCH(const double, bandwidth);
        hw::GpuInfo gpu;
        gpu.linkWidth = width;
        gpu.linkSpeedText = speedText;
        gpu.linkBandwidth = bandwidth;
        QTEST(hw::linkDescription(gpu), "description");
    }

    void linkOfAGpuThatTellsNothing() { QCOMPARE(hw::linkDescription({}), u"link unknown"_s); }
};

QTEST_GUILESS_MAIN(TestPcieLink)
#include "test_pcielink.moc"
