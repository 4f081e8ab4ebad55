// SPDX-License-Identifier: MIT
#include "hw/gpuenumeration.h"

#include <QTest>

using namespace Qt::StringLiterals;
using hw::GpuInfo;

namespace
{

enum Display { Dark, Connected };
enum Firmware { Other, BootVga };

GpuInfo gpu(Display display, Firmware firmware, int linkWidth = 16)
{
    GpuInfo info; // without a display, not the firmware's, until it is told
    if (display == Connected)
        info.hasConnectedOutput = true;
    if (firmware == BootVga)
        info.bootVga = true;
    info.linkWidth = linkWidth;
    return info;
}

QList<GpuInfo> gpusOfWidths(const QList<int> &widths)
{
    QList<GpuInfo> gpus;
    for (const int width : widths)
        gpus << gpu(Dark, Other, width);
    return gpus;
}

} // namespace

class TestGpuEnumerationChoice : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void chooseCompositingGpu_data()
    {
        QTest::addColumn<QList<GpuInfo>>("gpus");
        QTest::addColumn<int>("index");

        QTest::newRow("no GPUs") << QList<GpuInfo>{} << -1;
        QTest::newRow("one without a display") << QList{gpu(Dark, Other)} << 0;
        QTest::newRow("only the second is connected, neither is boot VGA")
            << QList{gpu(Dark, Other), gpu(Connected, Other)} << 1;
        QTest::newRow("two connected, the second is boot VGA")
            << QList{gpu(Connected, Other), gpu(Connected, BootVga)} << 1;
        QTest::newRow("two connected, both boot VGA")
            << QList{gpu(Connected, BootVga), gpu(Connected, BootVga)} << 0;
        QTest::newRow("two connected, neither is boot VGA")
            << QList{gpu(Connected, Other), gpu(Connected, Other)} << 0;
        QTest::newRow("two connected, the first is boot VGA")
            << QList{gpu(Connected, BootVga), gpu(Connected, Other)} << 0;
        QTest::newRow("boot VGA without a display does not count")
            << QList{gpu(Dark, BootVga), gpu(Connected, Other)} << 1;
        QTest::newRow("none connected, the second is boot VGA")
            << QList{gpu(Dark, Other), gpu(Dark, BootVga)} << 0;
        QTest::newRow("the first connected boot VGA of four")
            << QList{gpu(Dark, BootVga), gpu(Connected, Other), gpu(Connected, BootVga),
                     gpu(Connected, BootVga)}
            << 2;
        QTest::newRow("link width does not matter")
            << QList{gpu(Connected, Other, 1), gpu(Connected, Other, 16)} << 0;
    }
    void chooseCompositingGpu()
    {
        QFETCH(const QList<GpuInfo>, gpus);
        QTEST(hw::chooseCompositingGpu(gpus), "index");
    }

    void chooseDefaultRenderGpu_data()
    {
        QTest::addColumn<QList<int>>("linkWidths");
        QTest::addColumn<int>("compositing");
        QTest::addColumn<int>("index");

        QTest::newRow("a single GPU") << QList{16} << 0 << 0;
        QTest::newRow("the other of two") << QList{16, 4} << 0 << 1;
        QTest::newRow("the other of two, in front") << QList{4, 16} << 1 << 0;
        QTest::newRow("the widest of the others") << QList{16, 4, 8} << 0 << 2;
        QTest::newRow("the widest, in front") << QList{8, 4, 16} << 2 << 0;
        QTest::newRow("equal widths: the earlier") << QList{16, 8, 8} << 0 << 1;
        QTest::newRow("the other one's width is unknown") << QList{16, 0} << 0 << 1;
        QTest::newRow("all widths unknown") << QList{0, 0, 0} << 1 << 0;
        QTest::newRow("no GPUs") << QList<int>{} << -1 << -1;
    }
    void chooseDefaultRenderGpu()
    {
        QFETCH(const QList<int>, linkWidths);
        QFETCH(const int, compositing);
        QTEST(hw::chooseDefaultRenderGpu(gpusOfWidths(linkWidths), compositing), "index");
    }
};

QTEST_GUILESS_MAIN(TestGpuEnumerationChoice)
#include "test_gpuenumeration_choice.moc"
