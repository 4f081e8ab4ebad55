// SPDX-License-Identifier: MIT
#include "hw/gpuinfo.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestGpuInfo : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aGpuIsShownByNameAndIds_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("shown");
        QTest::newRow("a name of the database")
            << u"Navi 21 [Radeon RX 6900 XT]"_s << u"Navi 21 [Radeon RX 6900 XT] (1002:73bf)"_s;
        QTest::newRow("no name in the database: the ids twice")
            << u"GPU 1002:73bf"_s << u"GPU 1002:73bf (1002:73bf)"_s;
        QTest::newRow("percent signs in the name stay")
            << u"Card %2 of %1"_s << u"Card %2 of %1 (1002:73bf)"_s;
    }
    void aGpuIsShownByNameAndIds()
    {
        QFETCH(const QString, name);
        hw::GpuInfo gpu;
        gpu.name = name;
        gpu.pciId = u"1002:73bf"_s;
        QTEST(hw::gpuDisplayName(gpu), "shown");
    }
};

QTEST_GUILESS_MAIN(TestGpuInfo)
#include "test_gpuinfo.moc"
