// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestMainWindowGpuPanel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void describesTheCompositingGpuAndItsLink()
    {
        const PlayersMachine machine;
        const WindowUser user;
        QCOMPARE(
            user.gpuLabel->text(),
            u"Compositing GPU (drives the display): <b>Navi 21 [Radeon RX 6800] (1002:73bf)</b><br>Link: PCIe x16 @ 16.0 GT/s (~31.50 GB/s)"_s);
    }

    void namesAreNotTakenForPlaceholdersOrMarkup_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("expected"); // as rich text
        QTest::newRow("a placeholder stays")
            << QByteArray("Navi %2 %1") << u"<b>Navi %2 %1 (1002:73bf)</b>"_s;
        QTest::newRow("markup is shown as it is")
            << QByteArray("R<9> & Co") << u"<b>R&lt;9&gt; &amp; Co (1002:73bf)</b>"_s;
    }
    void namesAreNotTakenForPlaceholdersOrMarkup()
    {
        QFETCH(const QByteArray, name);
        QFETCH(const QString, expected);
        const PlayersMachine machine;
        machine.writePciIds("1002  AMD\n\t73bf  " + name + "\n");
        const WindowUser user;
        QCOMPARE(user.gpuLabel->text(), "Compositing GPU (drives the display): "_L1 + expected +
                                            "<br>Link: PCIe x16 @ 16.0 GT/s (~31.50 GB/s)"_L1);
    }

    void aGpuThatNobodyKnowsIsNamedByItsIds()
    {
        const support::PretendMachine machine;
        machine.addGpu({.card = u"card0"_s,
                        .address = u"0000:03:00.0"_s,
                        .vendor = u"0xf00f"_s,
                        .device = u"0x0001"_s});
        const WindowUser user;
        QCOMPARE(
            user.renderGpuCombo->itemText(0),
            u"GPU f00f:0001 (f00f:0001), PCIe x16 @ 16.0 GT/s (~31.50 GB/s)  [same as compositing GPU]"_s);
    }

    void offersEveryGpuForRendering()
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
    }

    void selectsAnotherThanTheCompositingGpuWithTheWidestLink_data()
    {
        QTest::addColumn<QStringList>("widths"); // of the GPUs without a display
        QTest::addColumn<int>("expected");
        QTest::newRow("only the compositing GPU") << QStringList() << 0;
        QTest::newRow("one other") << QStringList{u"1"_s} << 1;
        QTest::newRow("the wider of two") << QStringList{u"4"_s, u"8"_s} << 2;
        QTest::newRow("the first of equals") << QStringList{u"8"_s, u"8"_s} << 1;
    }
    void selectsAnotherThanTheCompositingGpuWithTheWidestLink()
    {
        QFETCH(const QStringList, widths);
        const PlayersMachine machine;
        for (qsizetype i = 0; i < widths.size(); ++i) {
            machine.addGpu({.card = u"card%1"_s.arg(i + 1),
                            .address = u"0000:1%1:00.0"_s.arg(i),
                            .currentLinkWidth = widths[i]});
        }
        const WindowUser user;
        QTEST(user.renderGpuCombo->currentIndex(), "expected");
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

    void aLinkWithoutAWidthIsUnknown()
    {
        support::PretendMachine machine;
        machine.addGpu({.card = u"card0"_s,
                        .address = u"0000:03:00.0"_s,
                        .vendor = u"0xf00f"_s,
                        .device = u"0x0001"_s,
                        .currentLinkWidth = {}});
        const WindowUser user;
        QVERIFY(user.gpuLabel->text().endsWith("<br>Link: link unknown"_L1));
        QCOMPARE(user.renderGpuCombo->itemText(0),
                 u"GPU f00f:0001 (f00f:0001), link unknown  [same as compositing GPU]"_s);
    }

    void withoutAGpuThePanelSaysSoAndNothingCanBeApplied()
    {
        support::PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"100"_s, u"Alpha"_s);
        WindowUser user;
        QCOMPARE(user.gpuLabel->text(),
                 u"<b>No GPU detected.</b> Marrowpulse needs /sys/class/drm access."_s);
        QCOMPARE(user.renderGpuCombo->count(), 0);
        QVERIFY(!user.applyButton->isEnabled());
        user.toggle(u"Alpha"_s);
        QVERIFY(user.isTicked(u"Alpha"_s));
        QCOMPARE(user.previewLabel->text(), QString());
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        QVERIFY(!user.applyButton->isEnabled());
    }

    void thePreviewFollowsTheRenderingGpu()
    {
        const PlayersMachine machine;
        machine.addSecondGpu();
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        QVERIFY(user.previewLabel->text().contains(" DRI_PRIME=10de:2684 "_L1));
        user.choose(user.renderGpuCombo, 0);
        QCOMPARE(user.previewLabel->text(), defaultOptions);
    }

    void panelIsFilledOnceAtStart()
    {
        const PlayersMachine machine;
        WindowUser user;
        machine.addSecondGpu();
        user.click(user.refreshButton);
        QCOMPARE(user.renderGpuCombo->count(), 1);
    }

    void refreshRateSetsTheAutomaticCap_data()
    {
        QTest::addColumn<QByteArray>("rate");
        QTest::addColumn<QString>("expected");
        QTest::newRow("60 Hz") << QByteArray("60.00") << u"Limit frame rate to 45 fps (smoother)"_s;
        QTest::newRow("90 Hz, half rounded up")
            << QByteArray("90.00") << u"Limit frame rate to 68 fps (smoother)"_s;
        QTest::newRow("144 Hz") << QByteArray("143.97")
                                << u"Limit frame rate to 108 fps (smoother)"_s;
        QTest::newRow("unknown") << QByteArray() << u"Limit frame rate to 45 fps (smoother)"_s;
    }
    void refreshRateSetsTheAutomaticCap()
    {
        QFETCH(const QByteArray, rate);
        const PlayersMachine machine;
        machine.addXrandr(rate.isEmpty() ? QByteArray("Can't open display\n")
                                         : "   1920x1080     " + rate + "*+\n");
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QTEST(user.frameCapCheck->text(), "expected");
    }
};

QTEST_MAIN(TestMainWindowGpuPanel)
#include "test_mainwindow_gpupanel.moc"
