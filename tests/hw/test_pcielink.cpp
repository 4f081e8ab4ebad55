// SPDX-License-Identifier: MIT
#include "hw/pcielink.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestPcieLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void bandwidthOfALane_data()
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
        QTest::newRow("a generation to come is unknown") << u"128.0 GT/s"_s << 0.0;
        QTest::newRow("a number without tenths is unknown") << u"8 GT/s PCIe"_s << 0.0;
        QTest::newRow("the text is not trimmed") << u" 8.0 GT/s PCIe"_s << 0.0;
        QTest::newRow("the kernel's word for no speed") << u"Unknown"_s << 0.0;
        QTest::newRow("no text") << u""_s << 0.0;
    }
    void bandwidthOfALane()
    {
        QFETCH(const QString, speedText);
        QTEST(hw::pcieLaneBandwidth(speedText), "gigabytesPerSecond");
    }

    void linkAsTheWindowShowsIt_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<QString>("speedText");
        QTest::addColumn<double>("bandwidth");
        QTest::addColumn<QString>("description");
        QTest::newRow("x16 of generation 3")
            << 16 << u"8.0 GT/s PCIe"_s << 15.76 << u"PCIe x16 @ 8.0 GT/s (~15.76 GB/s)"_s;
        QTest::newRow("a third decimal is rounded")
            << 4 << u"16.0 GT/s PCIe"_s << 7.876 << u"PCIe x4 @ 16.0 GT/s (~7.88 GB/s)"_s;
        QTest::newRow("a hundred and more in full")
            << 16 << u"64.0 GT/s PCIe"_s << 121.008 << u"PCIe x16 @ 64.0 GT/s (~121.01 GB/s)"_s;
        QTest::newRow("a speed that is only PCIe")
            << 8 << u"PCIe"_s << 0.0 << u"PCIe x8 @ ? (~0.00 GB/s)"_s;
        QTest::newRow("no speed") << 8 << u""_s << 0.0 << u"PCIe x8 @ ? (~0.00 GB/s)"_s;
        QTest::newRow("an unknown speed is shown as it is")
            << 8 << u"Unknown"_s << 0.0 << u"PCIe x8 @ Unknown (~0.00 GB/s)"_s;
        QTest::newRow("white space around PCIe goes with it")
            << 16 << u"8.0 GT/s \t PCIe  "_s << 15.76 << u"PCIe x16 @ 8.0 GT/s (~15.76 GB/s)"_s;
        QTest::newRow("PCIe elsewhere stays")
            << 16 << u"PCIe 8.0 GT/s"_s << 0.0 << u"PCIe x16 @ PCIe 8.0 GT/s (~0.00 GB/s)"_s;
        QTest::newRow("PCIe in lower case stays")
            << 16 << u"8.0 GT/s pcie"_s << 15.76 << u"PCIe x16 @ 8.0 GT/s pcie (~15.76 GB/s)"_s;
        QTest::newRow("an unknown width, whatever the speed")
            << 0 << u"8.0 GT/s PCIe"_s << 0.0 << u"link unknown"_s;
        QTest::newRow("a negative width") << -1 << u""_s << 0.0 << u"link unknown"_s;
    }
    void linkAsTheWindowShowsIt()
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
};

QTEST_GUILESS_MAIN(TestPcieLink)
#include "test_pcielink.moc"
