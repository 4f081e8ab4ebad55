// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include "support/samplesteam.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

PlayersMachine::PlayersMachine()
{
    writePciIds("1002  Advanced Micro Devices, Inc. [AMD/ATI]\n"
                "\t73bf  Navi 21 [Radeon RX 6800]\n"
                "10de  NVIDIA Corporation\n"
                "\t2684  AD102 [GeForce RTX 4090]\n");
    addGpu({.card = u"card0"_s,
            .address = u"0000:03:00.0"_s,
            .bootVga = u"1"_s,
            .connectors = {{u"DP-1"_s, u"connected"_s}}});
    addXrandr("Screen 0: minimum 320 x 200, current 1920 x 1080, maximum 16384 x 16384\n"
              "DP-1 connected primary 1920x1080+0+0 527mm x 296mm\n"
              "   1920x1080     60.00*+  50.00\n");
    installSteam();
}

void PlayersMachine::installGames(const QList<InstalledGame> &games) const
{
    QList<support::SampleApp> apps;
    for (const InstalledGame &game : games) {
        addGame(game.appid, game.name);
        apps.append({game.appid, game.launchOptions});
    }
    writeLocalConfig(support::sampleLocalConfig(apps));
}

void PlayersMachine::addSecondGpu() const
{
    addGpu({.card = u"card1"_s,
            .address = u"0000:01:00.0"_s,
            .vendor = u"0x10de"_s,
            .device = u"0x2684"_s,
            .currentLinkWidth = u"8"_s,
            .maxLinkSpeed = u"8.0 GT/s PCIe"_s});
}

QMap<QString, QString> PlayersMachine::storedValues() const
{
    // Under a name of its own: QSettings shares one memory between all objects of one file.
    const QTemporaryDir folder;
    const QString copy = folder.filePath(u"copy.conf"_s);
    QFile::copy(storePath(), copy);
    const QSettings settings(copy, QSettings::IniFormat);
    QMap<QString, QString> values;
    for (const QString &key : settings.allKeys())
        values.insert(key, settings.value(key).toString());
    return values;
}

void PlayersMachine::storeValues(const QMap<QString, QString> &values) const
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(u"new.conf"_s);
    {
        QSettings settings(path, QSettings::IniFormat);
        for (auto it = values.cbegin(); it != values.cend(); ++it)
            settings.setValue(it.key(), it.value());
    }
    write(storePath(), read(path));
}

bool PlayersMachine::isSteamClientRunning() const
{
    const QString pid = QString::fromLatin1(read(home() + "/.steam/steam.pid"_L1).trimmed());
    return !pid.isEmpty() &&
           QFileInfo("/proc/"_L1 + pid + "/exe"_L1).symLinkTarget().startsWith(steamRoot());
}

WindowUser::WindowUser()
    : gpuLabel(find<QLabel>("gpuLabel")), renderGpuCombo(find<QComboBox>("renderGpuCombo")),
      splitter(find<QSplitter>("splitter")), gameList(find<QListWidget>("gameList")),
      settingsGroup(find<QGroupBox>("settingsGroup")),
      upscalingCheck(find<QCheckBox>("upscalingCheck")),
      renderResCombo(find<QComboBox>("renderResCombo")),
      outputResCombo(find<QComboBox>("outputResCombo")),
      framegenCheck(find<QCheckBox>("framegenCheck")), methodCombo(find<QComboBox>("methodCombo")),
      holdbackCombo(find<QComboBox>("holdbackCombo")),
      frameCapCheck(find<QCheckBox>("frameCapCheck")),
      advancedButton(find<QPushButton>("advancedButton")),
      previewLabel(find<QLabel>("previewLabel")), refreshButton(find<QPushButton>("refreshButton")),
      applyButton(find<QPushButton>("applyButton")), statusLabel(find<QLabel>("statusLabel"))
{
    window.show();
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window))
        qFatal("the window did not come up");
}

QListWidgetItem *WindowUser::item(const QString &name) const
{
    const QList<QListWidgetItem *> found = gameList->findItems(name, Qt::MatchExactly);
    if (found.isEmpty())
        qFatal("no game %s in the list", qPrintable(name));
    return found.first();
}

bool WindowUser::isTicked(const QString &name) const
{
    return item(name)->checkState() == Qt::Checked;
}

QRect WindowUser::rowInView(int row) const
{
    QListWidgetItem *wanted = gameList->item(row);
    gameList->scrollToItem(wanted);
    return gameList->visualItemRect(wanted);
}

void WindowUser::selectRow(int row) const
{
    QTest::mouseClick(gameList->viewport(), Qt::LeftButton, {}, rowInView(row).center());
}

void WindowUser::toggleRow(int row) const
{
    const QRect place = rowInView(row);
    QTest::mouseClick(gameList->viewport(), Qt::LeftButton, {},
                      QPoint(place.left() + 10, place.center().y()));
}

void WindowUser::click(QAbstractButton *button)
{
    QTest::mouseClick(button, Qt::LeftButton, {}, QPoint(8, button->height() / 2));
}

void WindowUser::choose(QComboBox *combo, int row)
{
    combo->setFocus();
    QTest::keyClick(combo, Qt::Key_F4);
    QAbstractItemView *popup = combo->view();
    if (!QTest::qWaitFor([popup] { return popup->isVisible(); }))
        qFatal("the popup did not open");
    const QPoint place = popup->visualRect(combo->model()->index(row, 0)).center();
    QTest::mouseMove(popup->viewport(), place);
    QTest::mouseClick(popup->viewport(), Qt::LeftButton, {}, place);
    if (popup->isVisible())
        QTest::keyClick(popup, Qt::Key_Escape);
}

void WindowUser::type(QComboBox *combo, const QString &text)
{
    combo->setFocus();
    combo->lineEdit()->selectAll();
    if (text.isEmpty())
        QTest::keyClick(combo->lineEdit(), Qt::Key_Delete);
    QTest::keyClicks(combo->lineEdit(), text);
}

void turnWheelOver(QWidget *widget)
{
    const QPoint place = widget->rect().center();
    QWidget *child = widget->childAt(place);
    QWidget *receiver = child ? child : widget;
    QWheelEvent event(receiver->mapFrom(widget, place), widget->mapToGlobal(place), {}, {0, -120},
                      Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
    QSpontaneKeyEvent::setSpontaneous(&event); // from a device, so that it may take the focus
    qApp->notify(receiver, &event);
}

QMap<QString, int> leftEdgesOfBoxes(const QWidget &window)
{
    QMap<QString, int> edges;
    for (const QLabel *label : window.findChildren<QLabel *>()) {
        if (label->buddy())
            edges.insert(label->buddy()->objectName(),
                         label->buddy()->mapTo(&window, QPoint()).x());
    }
    return edges;
}
