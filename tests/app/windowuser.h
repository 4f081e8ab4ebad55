// SPDX-License-Identifier: MIT
#pragma once

#include "app/mainwindow.h"
#include "modaldialogs.h"
#include "support/pretendmachine.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QMap>
#include <QPushButton>
#include <QSplitter>

#include <optional>

/// A game as it stands in Steam's files.
struct InstalledGame {
    QString appid;
    QString name;
    std::optional<QString> launchOptions{}; ///< none: its block has no such line
};

/// The machine that most tests start from: one AMD GPU that drives a display of 60 Hz, and Steam.
class PlayersMachine : public support::PretendMachine
{
public:
    explicit PlayersMachine(const QList<InstalledGame> &games = {});
    /// Writes the manifests and a localconfig.vdf with a block for each game.
    void installGames(const QList<InstalledGame> &games) const;
    /// Gives the game a red picture. Returns its path.
    QString addPicture(const QString &appid, QSize size) const;
    /// A second GPU, without a display.
    void addSecondGpu() const;
    /// Every key of the settings store's file with its value as text.
    QMap<QString, QString> storedValues() const;
    /// Whether the process that the pid file names is the pretend client.
    bool isSteamClientRunning() const;
};

/// What a game with default settings gets on the player's machine.
inline const QString defaultOptions = QStringLiteral(
    "MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 "
    "MARROWPULSE_FG_RENDER_RES=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf "
    "-w 1280 -h 720 -W 1920 -H 1080 -F fsr -r 45 -f --force-windows-fullscreen -g -- %command%");

/// The same where the second GPU renders.
inline const QString secondGpuOptions =
    QString(defaultOptions)
        .replace(QStringLiteral("%command%"),
                 QStringLiteral(
                     "env MESA_VK_DEVICE_SELECT=pci-0000_01_00_0 DRI_PRIME=10de:2684 %command%"));

/// What the status line says if so many games are pending.
QString pendingStatus(int count);

/// The main window and a person in front of it. The widgets are found by their object names.
class WindowUser
{
public:
    WindowUser();

    QListWidgetItem *item(const QString &name) const;
    /// The item's check mark.
    bool isTicked(const QString &name) const;

    /// Clicks on the game's name.
    void select(const QString &name) const { selectRow(gameList->row(item(name))); }
    void selectRow(int row) const;
    /// Clicks on the check box of the game's row.
    void toggle(const QString &name) const { toggleRow(gameList->row(item(name))); }
    void toggleRow(int row) const;
    /// Clicks a button, or a check box on its mark.
    static void click(QAbstractButton *button);
    /// Opens the popup and clicks on the row.
    static void choose(QComboBox *combo, int row);
    /// Replaces the text of an editable combo box, key by key.
    static void type(QComboBox *combo, const QString &text);
    /// Clicks on Apply and gives one answer to each message box. Returns the boxes that came.
    QStringList apply(const QList<QMessageBox::StandardButton> &answers = {QMessageBox::No}) const;

    /// The row as it is painted.
    QImage pictureOfRow(int row) const;

    MainWindow window;
    QLabel *const gpuLabel = find<QLabel>("gpuLabel");
    QComboBox *const renderGpuCombo = find<QComboBox>("renderGpuCombo");
    QSplitter *const splitter = find<QSplitter>("splitter");
    QListWidget *const gameList = find<QListWidget>("gameList");
    QGroupBox *const settingsGroup = find<QGroupBox>("settingsGroup");
    QCheckBox *const upscalingCheck = find<QCheckBox>("upscalingCheck");
    QComboBox *const renderResCombo = find<QComboBox>("renderResCombo");
    QComboBox *const outputResCombo = find<QComboBox>("outputResCombo");
    QCheckBox *const framegenCheck = find<QCheckBox>("framegenCheck");
    QComboBox *const methodCombo = find<QComboBox>("methodCombo");
    QComboBox *const holdbackCombo = find<QComboBox>("holdbackCombo");
    QCheckBox *const frameCapCheck = find<QCheckBox>("frameCapCheck");
    QPushButton *const advancedButton = find<QPushButton>("advancedButton");
    QLabel *const previewLabel = find<QLabel>("previewLabel");
    QPushButton *const refreshButton = find<QPushButton>("refreshButton");
    QPushButton *const applyButton = find<QPushButton>("applyButton");
    QLabel *const statusLabel = find<QLabel>("statusLabel");

private:
    /// Where the row stands in the list once it is in view.
    QRect rowInView(int row) const;
    template <typename Widget>
    Widget *find(const char *name) const
    {
        auto *widget = window.findChild<Widget *>(QString::fromLatin1(name));
        if (!widget)
            qFatal("no widget %s", name);
        return widget;
    }
};

/// Turns the wheel over the middle of a widget as a mouse does: one notch, towards the user.
void turnWheelOver(QWidget *widget);

/// The part of a picture that differs from another one of the same size.
QRect differenceOf(const QImage &picture, const QImage &other);
