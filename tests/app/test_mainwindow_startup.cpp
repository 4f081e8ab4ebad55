// SPDX-License-Identifier: MIT
#include "modaldialogs.h"
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

/// The words of the tool tip that is up.
QString shownToolTip()
{
    return QTextDocumentFragment::fromHtml(QToolTip::text()).toPlainText();
}

} // namespace

class TestMainWindowStartup : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void opensAt900x620WithTheTitle()
    {
        const PlayersMachine machine;
        const WindowUser user;
        QCOMPARE(user.window.size(), QSize(900, 620));
        QCOMPARE(user.window.windowTitle(), u"Marrowpulse"_s);
        QCOMPARE(user.window.parentWidget(), nullptr);
    }

    void aPipeInAFilesPlaceIsPassedOver_data()
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

    void aPipeInAFilesPlaceIsPassedOver()
    {
        QFETCH(const QString, path);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
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

    void splitterDividesThreeToTwoAndKeepsItWhenTheWindowGrows()
    {
        const PlayersMachine machine;
        WindowUser user;
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
    }

    void windowCanBeMadeSmaller()
    {
        const PlayersMachine machine;
        WindowUser user;
        user.window.resize(700, 560);
        QTRY_COMPARE(user.window.size(), QSize(700, 560));
    }

    void visibleTexts_data()
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
        row("previewLabel", "text", QString());
        row("previewLabel", "styleSheet", u"color: gray; font-size: 8pt;"_s);
        row("advancedButton", "text", u"Advanced\u2026"_s);
        row("advancedButton", "toolTip",
            u"Advanced settings for this game: exact frame rate cap, frame generation internals, and the in-game overlay."_s);
        row("statusLabel", "text", u"No pending changes."_s);
        row("refreshButton", "text", u"&Refresh"_s);
        row("refreshButton", "toolTip",
            u"Re-scan installed Steam games (e.g. after installing one). Keeps unsaved changes."_s);
        row("applyButton", "text", u"&Apply"_s);
        row("applyButton", "toolTip", QString());
        row("upscalingCheck", "toolTip", QString());
        row("settingsGroup", "title", u"Game settings"_s);
    }
    void visibleTexts()
    {
        QFETCH(const QString, widget);
        QFETCH(const QByteArray, property);
        const PlayersMachine machine;
        const WindowUser user;
        const auto *found = user.window.findChild<QWidget *>(widget);
        QVERIFY(found);
        QTEST(found->property(property).toString(), "expected");
    }

    void labelsNameTheirControls_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("control");
        QTest::newRow("rendering GPU") << u"Rendering GPU:"_s << u"renderGpuCombo"_s;
        QTest::newRow("render resolution") << u"Render resolution:"_s << u"renderResCombo"_s;
        QTest::newRow("output resolution") << u"Output resolution:"_s << u"outputResCombo"_s;
        QTest::newRow("method") << u"Method:"_s << u"methodCombo"_s;
        QTest::newRow("hold-back") << u"Hold-back:"_s << u"holdbackCombo"_s;
    }
    void labelsNameTheirControls()
    {
        QFETCH(const QString, text);
        const PlayersMachine machine;
        const WindowUser user;
        const QLabel *found = nullptr;
        for (const QLabel *label : user.window.findChildren<QLabel *>()) {
            if (label->text() == text)
                found = label;
        }
        QVERIFY(found && found->buddy());
        QTEST(found->buddy()->objectName(), "control");
        QVERIFY(found->mapTo(&user.window, QPoint()).x() <
                found->buddy()->mapTo(&user.window, QPoint()).x());
    }

    void theBoxesOfTheSettingsHaveOneLeftEdge()
    {
        const PlayersMachine machine;
        const WindowUser user;
        QMap<QString, int> edges = leftEdgesOfBoxes(user.window);
        edges.remove(u"renderGpuCombo"_s); // stands alone, above
        const int edge = edges.value(u"renderResCombo"_s);
        QCOMPARE(edges, (QMap<QString, int>{{u"renderResCombo"_s, edge},
                                            {u"outputResCombo"_s, edge},
                                            {u"methodCombo"_s, edge},
                                            {u"holdbackCombo"_s, edge}}));
    }

    void whatStandsInOneRowIsNotCrowded()
    {
        const PlayersMachine machine;
        const WindowUser user;
        const auto place = [&](const QWidget *widget) {
            return QRect(widget->mapTo(&user.window, QPoint()), widget->size());
        };
        QVERIFY(place(user.applyButton).left() - place(user.refreshButton).right() > 6);
        for (const QLabel *label : user.window.findChildren<QLabel *>()) {
            if (label->buddy())
                QVERIFY(place(label->buddy()).left() - place(label).right() > 6);
        }
    }

    void atALowHeightThePreviewGivesWayAndNothingElse()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, QString(900, u'e')}});
        WindowUser user;
        user.window.resize(900, 440);
        QTRY_COMPARE(user.window.height(), 440);
        for (const QWidget *widget :
             QList<const QWidget *>{user.upscalingCheck, user.renderResCombo, user.outputResCombo,
                                    user.framegenCheck, user.methodCombo, user.holdbackCombo,
                                    user.frameCapCheck, user.advancedButton, user.applyButton}) {
            QVERIFY2(widget->height() >= widget->minimumSizeHint().height(),
                     qPrintable(widget->objectName()));
            QVERIFY2(widget->visibleRegion().boundingRect() == widget->rect(),
                     qPrintable(widget->objectName()));
        }
    }

    void atTheLeastHeightTheSettingsAreScrolledToWhatHasTheFocus()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        user.window.resize(900, 100);
        QTRY_VERIFY(user.window.height() < 440);
        QVERIFY(user.frameCapCheck->visibleRegion().isEmpty());
        user.upscalingCheck->setFocus();
        while (QApplication::focusWidget() != user.frameCapCheck) {
            QVERIFY(QApplication::focusWidget() != user.advancedButton);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        }
        QCOMPARE(user.frameCapCheck->visibleRegion().boundingRect(), user.frameCapCheck->rect());
        for (const QWidget *widget :
             QList<const QWidget *>{user.advancedButton, user.applyButton, user.refreshButton})
            QCOMPARE(widget->visibleRegion().boundingRect(), widget->rect());
    }

    void groupOfGpusIsTitled()
    {
        const PlayersMachine machine;
        const WindowUser user;
        const auto *group = qobject_cast<QGroupBox *>(user.gpuLabel->parentWidget());
        QVERIFY(group);
        QCOMPARE(group->title(), u"GPUs"_s);
        QVERIFY(user.gpuLabel->wordWrap());
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
            const int y = widget->mapTo(&user.window, QPoint(0, widget->height() / 2)).y();
            QVERIFY2(y > above, qPrintable(widget->objectName()));
            above = y;
        }
        const auto x = [&](QWidget *widget) { return widget->mapTo(&user.window, QPoint()).x(); };
        QVERIFY(x(user.statusLabel) < x(user.refreshButton));
        QVERIFY(x(user.refreshButton) < x(user.applyButton));
    }

    void tabVisitsTheControlsInReadingOrder()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
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

    void assistiveToolsMeetTheListBeforeTheSettings()
    {
        const PlayersMachine machine;
        const WindowUser user;
        const QAccessibleInterface *parts = QAccessible::queryAccessibleInterface(user.splitter);
        QCOMPARE(parts->child(0)->object(), user.gameList);
        QCOMPARE(parts->child(1)->object(), user.settingsGroup);
    }

    void resolutionBoxesAreEditableWithSevenSizesLargestFirst_data()
    {
        QTest::addColumn<QString>("box");
        QTest::newRow("render resolution") << u"renderResCombo"_s;
        QTest::newRow("output resolution") << u"outputResCombo"_s;
    }
    void resolutionBoxesAreEditableWithSevenSizesLargestFirst()
    {
        QFETCH(const QString, box);
        const PlayersMachine machine;
        const WindowUser user;
        const auto *combo = user.window.findChild<QComboBox *>(box);
        QVERIFY(combo->isEditable());
        QStringList items;
        for (int i = 0; i < combo->count(); ++i) {
            items.append(combo->itemText(i));
            QVERIFY(!combo->itemData(i).isValid());
        }
        QCOMPARE(items, (QStringList{u"3840x2160"_s, u"2560x1440"_s, u"1920x1080"_s, u"1600x900"_s,
                                     u"1280x720"_s, u"960x540"_s, u"854x480"_s}));
    }

    void holdbackAndMethodTexts()
    {
        const PlayersMachine machine;
        const WindowUser user;
        QCOMPARE(user.holdbackCombo->count(), 2);
        QCOMPARE(user.holdbackCombo->itemText(0), u"1 frame (low latency)"_s);
        QCOMPARE(user.holdbackCombo->itemText(1),
                 u"2 frames (smoother when fps dips below ~30, +1 frame latency)"_s);
        QVERIFY(!user.holdbackCombo->isEditable());
        QCOMPARE(user.methodCombo->count(), 2);
        QCOMPARE(user.methodCombo->itemText(0), u"MCFI (built-in)"_s);
        QCOMPARE(user.methodCombo->itemText(1), u"LSFG (Lossless Scaling)"_s);
        QVERIFY(!user.methodCombo->isEditable());
    }

    void withoutLosslessScalingTheSecondMethodIsGreyAndTellsWhyOnHover()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
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
            shownToolTip(),
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
        const QStringList paths = QIcon::themeSearchPaths();
        const QString theme = QIcon::themeName();
        QIcon::setThemeSearchPaths({icons});
        QIcon::setThemeName(u"pretend"_s);
        {
            const WindowUser user;
            QCOMPARE(user.advancedButton->icon().pixmap(16, 16).toImage().pixelColor(8, 8),
                     QColor(Qt::magenta));
        }
        QIcon::setThemeSearchPaths(paths);
        QIcon::setThemeName(theme);
    }

    void thePrefixIsReadAtTheStartAndNotAgain()
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
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
    }
};

QTEST_MAIN(TestMainWindowStartup)
#include "test_mainwindow_startup.moc"
