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

PlayersMachine::PlayersMachine(const QList<InstalledGame> &games)
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
    if (!games.isEmpty())
        installGames(games);
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

QString PlayersMachine::addPicture(const QString &appid, QSize size) const
{
    const QString path = steamRoot() + "/appcache/librarycache/"_L1 + appid + "_icon.jpg"_L1;
    write(path, {});
    QImage picture(size, QImage::Format_RGB32);
    picture.fill(Qt::red);
    if (!picture.save(path, "PNG"))
        qFatal("no picture at %s", qPrintable(path));
    return path;
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

bool PlayersMachine::isSteamClientRunning() const
{
    const QString pid = QString::fromLatin1(read(home() + "/.steam/steam.pid"_L1).trimmed());
    return !pid.isEmpty() &&
           QFileInfo("/proc/"_L1 + pid + "/exe"_L1).symLinkTarget().startsWith(steamRoot());
}

QString pendingStatus(int count)
{
    return count == 0
               ? u"No pending changes."_s
               : u"%1 game(s) with pending changes. Steam must close briefly to apply."_s.arg(
                     count);
}

WindowUser::WindowUser()
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

QStringList WindowUser::apply(const QList<QMessageBox::StandardButton> &answers) const
{
    const MessageBoxAnswers boxes(answers);
    click(applyButton);
    return boxes.shown();
}

QImage WindowUser::pictureOfRow(int row) const
{
    return gameList->viewport()->grab(rowInView(row)).toImage();
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

QRect differenceOf(const QImage &picture, const QImage &other)
{
    QRect difference;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixel(x, y) != other.pixel(x, y))
                difference |= QRect(x, y, 1, 1);
        }
    }
    return difference;
}
