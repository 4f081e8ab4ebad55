// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QDir>
#include <QHelpEvent>
#include <QIcon>
#include <QImage>
#include <QScreen>
#include <QTest>
#include <QTextDocumentFragment>
#include <QToolTip>
#include <QWindow>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace
{

QRect placeOf(const WindowUser &user, const QWidget *widget)
{
    return {widget->mapTo(&user.window, QPoint()), widget->size()};
}

bool isWhole(const QWidget *widget)
{
    return widget->visibleRegion().boundingRect() == widget->rect();
}

} // namespace

class TestMainWindowStartup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theWindowOpensAt900x620AndItsPartsKeepTheirShares()
    {
        const PlayersMachine machine;
        WindowUser user;
        QCOMPARE(user.window.size(), QSize(900, 620));
        QCOMPARE(user.window.windowTitle(), u"Marrowpulse"_s);
        QCOMPARE(user.splitter->orientation(), Qt::Horizontal);
        QCOMPARE(user.splitter->widget(0), user.gameList);
        QCOMPARE(user.splitter->widget(1), user.settingsGroup);
        for (const int width : {900, 1400}) {
            user.window.resize(width, 800);
            QTRY_COMPARE(user.window.width(), width);
            const QList<int> sizes = user.splitter->sizes();
            QVERIFY2(qAbs(sizes[0] * 2 - sizes[1] * 3) <= width / 140,
                     qPrintable(u"%1 : %2"_s.arg(sizes[0]).arg(sizes[1])));
        }
        user.window.resize(700, 560);
        QTRY_COMPARE(user.window.size(), QSize(700, 560));
    }

    void aPipeInThePlaceOfAFileDoesNotHangTheWindow_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("library prefix") << u"home/.config/marrowpulse/gamescope-prefix"_s;
        QTest::newRow("list of libraries")
            << u"home/.local/share/Steam/steamapps/libraryfolders.vdf"_s;
        QTest::newRow("manifest") << u"home/.local/share/Steam/steamapps/appmanifest_200.acf"_s;
        QTest::newRow("localconfig.vdf")
            << u"home/.local/share/Steam/userdata/70001/config/localconfig.vdf"_s;
        QTest::newRow("pid file") << u"home/.steam/steam.pid"_s;
        QTest::newRow("picture") << u"home/.local/share/Steam/appcache/librarycache/100_icon.jpg"_s;
        QTest::newRow("PCI ID file") << u"hwdata/pci.ids"_s;
        QTest::newRow("sysfs attribute") << u"sys/class/drm/card0/device/boot_vga"_s;
    }

    void aPipeInThePlaceOfAFileDoesNotHangTheWindow()
    {
        QFETCH(const QString, path);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        const QByteArray pipe = QFile::encodeName(machine.root() + u'/' + path);
        machine.write(QFile::decodeName(pipe), ""); // makes the folders
        QVERIFY(QFile::remove(QFile::decodeName(pipe)));
        QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
        WindowUser user; // hangs if the pipe is waited for
        QVERIFY(!user.window.grab().isNull());
        QCOMPARE(user.gameList->count(), 1);
        QCOMPARE(user.gameList->item(0)->text(), u"Alpha"_s);
        user.toggle(u"Alpha"_s);
        const MessageBoxAnswers boxes({QMessageBox::Ok, QMessageBox::No});
        user.click(user.applyButton);
        QVERIFY(!boxes.shown().isEmpty());
        QVERIFY(QFile::remove(QFile::decodeName(pipe))); // the machine looks at some when it ends
    }

    void controlsHaveTheirTexts_data()
    {
        QTest::addColumn<QString>("widget");
        QTest::addColumn<QByteArray>("property");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *widget, const char *property, const QString &expected) {
            QTest::addRow("%s %s", widget, property)
                << QString::fromLatin1(widget) << QByteArray(property) << expected;
        };
        row("upscalingCheck", "text", u"Upscaling (FSR)"_s);
        row("framegenCheck", "text", u"Frame generation"_s);
        row("frameCapCheck", "toolTip",
            u"Frame generation interpolates between the frames the game produces, so it works best when those arrive at a steady rate. Capping the game below your display's refresh rate is the biggest smoothness improvement available, and for games with no frame rate limit of their own it is the only way to get one. The cost is slightly more input delay. Use the gear button to set an exact value."_s);
        row("previewLabel", "styleSheet", u"color: gray; font-size: 8pt;"_s);
        row("advancedButton", "text", u"Advanced\u2026"_s);
        row("advancedButton", "toolTip",
            u"Advanced settings for this game: exact frame rate cap, frame generation internals, and the in-game overlay."_s);
        row("refreshButton", "text", u"&Refresh"_s);
        row("refreshButton", "toolTip",
            u"Re-scan installed Steam games (e.g. after installing one). Keeps unsaved changes."_s);
        row("applyButton", "text", u"&Apply"_s);
    }
    void controlsHaveTheirTexts()
    {
        QFETCH(const QString, widget);
        QFETCH(const QByteArray, property);
        const PlayersMachine machine;
        const WindowUser user;
        const auto *found = user.window.findChild<QWidget *>(widget);
        QVERIFY(found);
        QTEST(found->property(property).toString(), "expected");
    }

    void everyBoxHasItsLabelBesideIt()
    {
        const PlayersMachine machine;
        const WindowUser user;
        QMap<QString, QString> labels;
        QSet<int> edges; // of the boxes
        for (const QLabel *label : user.window.findChildren<QLabel *>()) {
            if (!label->buddy())
                continue;
            labels[label->text()] = label->buddy()->objectName();
            const QRect box = placeOf(user, label->buddy());
            QVERIFY(box.left() - placeOf(user, label).right() > 6); // not crowded
            if (label->buddy() != user.renderGpuCombo)              // which stands alone, above
                edges.insert(box.left());
        }
        QCOMPARE(labels, (QMap<QString, QString>{{u"Rendering GPU:"_s, u"renderGpuCombo"_s},
                                                 {u"Render resolution:"_s, u"renderResCombo"_s},
                                                 {u"Output resolution:"_s, u"outputResCombo"_s},
                                                 {u"Method:"_s, u"methodCombo"_s},
                                                 {u"Hold-back:"_s, u"holdbackCombo"_s}}));
        QCOMPARE(edges.size(), 1);
    }

    void inALowWindowOnlyThePreviewGivesWay()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, QString(900, u'e')}});
        WindowUser user;
        user.window.resize(900, 440);
        QTRY_COMPARE(user.window.height(), 440);
        for (const QWidget *widget :
             QList<const QWidget *>{user.upscalingCheck, user.renderResCombo, user.outputResCombo,
                                    user.framegenCheck, user.methodCombo, user.holdbackCombo,
                                    user.frameCapCheck, user.advancedButton, user.applyButton}) {
            QVERIFY2(widget->height() >= widget->minimumSizeHint().height() && isWhole(widget),
                     qPrintable(widget->objectName()));
        }
    }

    void inTheLowestWindowTabScrollsToTheSettingThatItReaches()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        user.window.resize(900, 100);
        QTRY_VERIFY(user.window.height() < 440);
        QVERIFY(user.frameCapCheck->visibleRegion().isEmpty());
        user.upscalingCheck->setFocus();
        while (QApplication::focusWidget() != user.frameCapCheck) {
            QVERIFY(QApplication::focusWidget() != user.advancedButton);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QVERIFY(isWhole(user.frameCapCheck));
        QVERIFY(isWhole(user.advancedButton));
        QVERIFY(isWhole(user.applyButton) && isWhole(user.refreshButton));
    }

    void controlsStandInReadingOrder()
    {
        const PlayersMachine machine;
        const WindowUser user;
        int above = -1;
        for (QWidget *widget : QList<QWidget *>{
                 user.gpuLabel, user.renderGpuCombo, user.upscalingCheck, user.renderResCombo,
                 user.outputResCombo, user.framegenCheck, user.methodCombo, user.holdbackCombo,
                 user.frameCapCheck, user.previewLabel, user.advancedButton, user.applyButton}) {
            const int y = placeOf(user, widget).center().y();
            QVERIFY2(y > above, qPrintable(widget->objectName()));
            above = y;
        }
        const QRect refresh = placeOf(user, user.refreshButton);
        QVERIFY(placeOf(user, user.statusLabel).left() < refresh.left());
        QVERIFY(placeOf(user, user.applyButton).left() - refresh.right() > 6); // not crowded
    }

    void tabVisitsTheControlsInReadingOrder()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        user.renderGpuCombo->setFocus();
        QStringList visited;
        for (int i = 0; i < 13; ++i) {
            visited.append(QApplication::focusWidget()->objectName());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(visited, (QStringList{u"renderGpuCombo"_s, u"gameList"_s, u"upscalingCheck"_s,
                                       u"renderResCombo"_s, u"outputResCombo"_s, u"framegenCheck"_s,
                                       u"methodCombo"_s, u"holdbackCombo"_s, u"frameCapCheck"_s,
                                       u"advancedButton"_s, u"refreshButton"_s, u"applyButton"_s,
                                       u"renderGpuCombo"_s}));
    }

    void aScreenReaderReadsTheListBeforeTheSettings()
    {
        const PlayersMachine machine;
        const WindowUser user;
        const QAccessibleInterface *parts = QAccessible::queryAccessibleInterface(user.splitter);
        QCOMPARE(parts->child(0)->object(), user.gameList);
        QCOMPARE(parts->child(1)->object(), user.settingsGroup);
    }

    void boxesOfferTheirChoices_data()
    {
        const QStringList sizes{u"3840x2160"_s, u"2560x1440"_s, u"1920x1080"_s, u"1600x900"_s,
                                u"1280x720"_s,  u"960x540"_s,   u"854x480"_s};
        QTest::addColumn<QString>("box");
        QTest::addColumn<QStringList>("choices");
        QTest::newRow("render resolution") << u"renderResCombo"_s << sizes;
        QTest::newRow("output resolution") << u"outputResCombo"_s << sizes;
        QTest::newRow("method") << u"methodCombo"_s
                                << QStringList{u"MCFI (built-in)"_s, u"LSFG (Lossless Scaling)"_s};
        QTest::newRow("hold-back")
            << u"holdbackCombo"_s
            << QStringList{u"1 frame (low latency)"_s,
                           u"2 frames (smoother when fps dips below ~30, +1 frame latency)"_s};
    }
    void boxesOfferTheirChoices()
    {
        QFETCH(const QString, box);
        QFETCH(const QStringList, choices);
        const PlayersMachine machine;
        const WindowUser user;
        const auto *combo = user.window.findChild<QComboBox *>(box);
        QStringList items;
        for (int i = 0; i < combo->count(); ++i) {
            items.append(combo->itemText(i));
            QVERIFY(!combo->itemData(i).isValid());
        }
        QCOMPARE(items, choices);
        QCOMPARE(combo->isEditable(), choices.size() > 2); // any size can be typed
    }

    void withoutLosslessScalingTheSecondMethodIsGreyAndSaysWhy()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        const QModelIndex lsfg = user.methodCombo->model()->index(1, 0);
        QVERIFY(!(lsfg.flags() & Qt::ItemIsEnabled));
        QVERIFY(user.methodCombo->model()->index(0, 0).flags() & Qt::ItemIsEnabled);

        user.choose(user.methodCombo, 1);
        QCOMPARE(user.methodCombo->currentIndex(), 0);
        QTest::keyClick(user.methodCombo, Qt::Key_Down);
        QCOMPARE(user.methodCombo->currentIndex(), 0);

        user.methodCombo->showPopup();
        QAbstractItemView *popup = user.methodCombo->view();
        QTRY_VERIFY(popup->isVisible());
        const QPoint place = popup->visualRect(lsfg).center();
        QHelpEvent hover(QEvent::ToolTip, place, popup->viewport()->mapToGlobal(place));
        QApplication::sendEvent(popup->viewport(), &hover);
        QCOMPARE(
            QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText(),
            u"Lossless Scaling not found. Install it on Steam to enable LSFG frame generation."_s);
        user.methodCombo->hidePopup();
    }

    void withLosslessScalingBothMethodsCanBeChosen()
    {
        const PlayersMachine machine;
        machine.installLosslessScaling();
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        user.choose(user.methodCombo, 1);
        QCOMPARE(user.methodCombo->currentText(), u"LSFG (Lossless Scaling)"_s);
        QCOMPARE(user.methodCombo->itemData(1, Qt::ToolTipRole).toString(), QString());
    }

    void advancedButtonHasTheGearOfTheIconTheme()
    {
        const PlayersMachine machine;
        const QString icons = machine.home() + "/icons"_L1;
        machine.write(icons + "/pretend/index.theme"_L1,
                      "[Icon Theme]\nName=pretend\nDirectories=16\n[16]\nSize=16\nType=Fixed\n");
        QDir().mkpath(icons + "/pretend/16"_L1);
        QImage gear(16, 16, QImage::Format_RGB32);
        gear.fill(Qt::magenta);
        QVERIFY(gear.save(icons + "/pretend/16/preferences-system.png"_L1));
        QIcon::setThemeSearchPaths({icons});
        QIcon::setThemeName(u"pretend"_s);
        const WindowUser user;
        QCOMPARE(user.advancedButton->icon().pixmap(16, 16).toImage().pixelColor(8, 8),
                 QColor(Qt::magenta));
    }

    void theLibraryPrefixIsReadOnceAtTheStart()
    {
        const PlayersMachine machine;
        const QString file = machine.home() + "/.config/marrowpulse/gamescope-prefix"_L1;
        machine.write(file, "/opt/gs\n");
        const QString options =
            QString(defaultOptions)
                .replace("MARROWPULSE=1"_L1, "MARROWPULSE=1 LD_LIBRARY_PATH=/opt/gs"_L1);
        machine.installGames({{u"100"_s, u"Alpha"_s, options}});
        WindowUser user;
        machine.write(file, "/opt/late\n");
        user.click(user.refreshButton);
        QCOMPARE(user.previewLabel->text(), options);
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
    }

    void theGpuOfTheDisplayIsNamedWithItsLink_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("expected"); // as rich text
        QTest::newRow("usual") << QByteArray("Navi 21 [Radeon RX 6800]")
                               << u"<b>Navi 21 [Radeon RX 6800] (1002:73bf)</b>"_s;
        QTest::newRow("a name with a percent sign")
            << QByteArray("Navi %2 %1") << u"<b>Navi %2 %1 (1002:73bf)</b>"_s;
        QTest::newRow("a name like markup")
            << QByteArray("R<9> & Co") << u"<b>R&lt;9&gt; &amp; Co (1002:73bf)</b>"_s;
    }
    void theGpuOfTheDisplayIsNamedWithItsLink()
    {
        QFETCH(const QByteArray, name);
        QFETCH(const QString, expected);
        const PlayersMachine machine;
        machine.writePciIds("1002  AMD\n\t73bf  " + name + "\n");
        const WindowUser user;
        QCOMPARE(qobject_cast<QGroupBox *>(user.gpuLabel->parentWidget())->title(), u"GPUs"_s);
        QCOMPARE(user.gpuLabel->text(), "Compositing GPU (drives the display): "_L1 + expected +
                                            "<br>Link: PCIe x16 @ 16.0 GT/s (~31.50 GB/s)"_L1);
    }

    void everyGpuIsOfferedForRenderingAndAnotherThanThatOfTheDisplayChosen()
    {
        support::PretendMachine machine;
        machine.writePciIds("1002  AMD\n\t73bf  Navi 21 [Radeon RX 6800]\n");
        machine.addGpu({.card = u"card0"_s, .address = u"0000:03:00.0"_s, .bootVga = u"1"_s});
        machine.addGpu({.card = u"card1"_s,
                        .address = u"0000:01:00.0"_s,
                        .vendor = u"0xf00f"_s,
                        .device = u"0x0002"_s,
                        .currentLinkWidth = u"8"_s,
                        .maxLinkSpeed = u"8.0 GT/s PCIe"_s,
                        .connectors = {{u"HDMI-A-1"_s, u"connected"_s}}});
        const WindowUser user;
        QVERIFY(user.gpuLabel->text().startsWith(
            "Compositing GPU (drives the display): <b>GPU f00f:0002 (f00f:0002)</b><br>Link: "_L1));
        QCOMPARE(user.renderGpuCombo->count(), 2);
        QCOMPARE(user.renderGpuCombo->itemText(0),
                 u"Navi 21 [Radeon RX 6800] (1002:73bf), PCIe x16 @ 16.0 GT/s (~31.50 GB/s)"_s);
        QCOMPARE(user.renderGpuCombo->itemData(0), QVariant(0));
        QCOMPARE(
            user.renderGpuCombo->itemText(1),
            u"GPU f00f:0002 (f00f:0002), PCIe x8 @ 8.0 GT/s (~7.88 GB/s)  [same as compositing GPU]"_s);
        QCOMPARE(user.renderGpuCombo->itemData(1), QVariant(1));
        QCOMPARE(user.renderGpuCombo->currentIndex(), 0);
    }

    void refreshDoesNotLookForGpusAgain()
    {
        const PlayersMachine machine;
        WindowUser user;
        machine.addSecondGpu();
        user.click(user.refreshButton);
        QCOMPARE(user.renderGpuCombo->count(), 1);
    }
};

QTEST_MAIN(TestMainWindowStartup)
#include "test_mainwindow_startup.moc"
