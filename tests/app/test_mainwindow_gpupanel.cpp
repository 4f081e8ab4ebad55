// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestMainWindowGpuPanel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theCompositingGpuIsNamedWithItsLink_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("expected"); // as rich text
        QTest::newRow("usual") << QByteArray("Navi 21 [Radeon RX 6800]")
                               << u"<b>Navi 21 [Radeon RX 6800] (1002:73bf)</b>"_s;
        QTest::newRow("a placeholder stays")
            << QByteArray("Navi %2 %1") << u"<b>Navi %2 %1 (1002:73bf)</b>"_s;
        QTest::newRow("markup is shown as it is")
            << QByteArray("R<9> & Co") << u"<b>R&lt;9&gt; &amp; Co (1002:73bf)</b>"_s;
    }
    void theCompositingGpuIsNamedWithItsLink()
    {
        QFETCH(const QByteArray, name);
        QFETCH(const QString, expected);
        const PlayersMachine machine;
        machine.writePciIds("1002  AMD\n\t73bf  " + name + "\n");
        const WindowUser user;
        QCOMPARE(user.gpuLabel->text(), "Compositing GPU (drives the display): "_L1 + expected +
                                            "<br>Link: PCIe x16 @ 16.0 GT/s (~31.50 GB/s)"_L1);
    }

    void offersEveryGpuForRenderingAndChoosesAnotherThanTheCompositing()
    {
        const PlayersMachine machine;
        machine.addSecondGpu();
        const WindowUser user;
        QCOMPARE(user.renderGpuCombo->count(), 2);
        QCOMPARE(
            user.renderGpuCombo->itemText(0),
            u"Navi 21 [Radeon RX 6800] (1002:73bf), PCIe x16 @ 16.0 GT/s (~31.50 GB/s)  [same as compositing GPU]"_s);
        QCOMPARE(user.renderGpuCombo->itemData(0), QVariant(0));
        QCOMPARE(user.renderGpuCombo->itemText(1),
                 u"AD102 [GeForce RTX 4090] (10de:2684), PCIe x8 @ 8.0 GT/s (~7.88 GB/s)"_s);
        QCOMPARE(user.renderGpuCombo->itemData(1), QVariant(1));
        QCOMPARE(user.renderGpuCombo->currentIndex(), 1);
    }

    void theGpuWithTheDisplayIsTheCompositingOne()
    {
        support::PretendMachine machine;
        machine.addGpu({.card = u"card0"_s, .address = u"0000:03:00.0"_s, .bootVga = u"1"_s});
        machine.addGpu({.card = u"card1"_s,
                        .address = u"0000:01:00.0"_s,
                        .vendor = u"0xf00f"_s,
                        .device = u"0x0002"_s,
                        .connectors = {{u"HDMI-A-1"_s, u"connected"_s}}});
        const WindowUser user;
        QVERIFY(user.gpuLabel->text().startsWith(
            "Compositing GPU (drives the display): <b>GPU f00f:0002 (f00f:0002)</b><br>Link: "_L1));
        QCOMPARE(user.renderGpuCombo->currentIndex(), 0);
        QVERIFY(user.renderGpuCombo->itemText(1).endsWith("  [same as compositing GPU]"_L1));
        QVERIFY(!user.renderGpuCombo->itemText(0).contains("same as"_L1));
    }

    void withoutAGpuThePanelSaysSo()
    {
        const support::PretendMachine machine;
        const WindowUser user;
        QCOMPARE(user.gpuLabel->text(),
                 u"<b>No GPU detected.</b> Marrowpulse needs /sys/class/drm access."_s);
        QCOMPARE(user.renderGpuCombo->count(), 0);
    }

    void panelIsFilledOnceAtStart()
    {
        const PlayersMachine machine;
        WindowUser user;
        machine.addSecondGpu();
        user.click(user.refreshButton);
        QCOMPARE(user.renderGpuCombo->count(), 1);
    }
};

QTEST_MAIN(TestMainWindowGpuPanel)
#include "test_mainwindow_gpupanel.moc"
