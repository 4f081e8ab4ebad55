// SPDX-License-Identifier: MIT
#pragma once

#include "app/mainwindow.h"
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

/// The machine that most tests start from: one AMD GPU that drives a display of 60 Hz, and Steam
/// without games.
class PlayersMachine : public support::PretendMachine
{
public:
    PlayersMachine();
    /// Writes the manifests and a localconfig.vdf with a block for each game.
    void installGames(const QList<InstalledGame> &games) const;
    /// A second GPU, without a display.
    void addSecondGpu() const;
    /// Every key of the settings store's file with its value as text.
    QMap<QString, QString> storedValues() const;
    /// Whether the process that the pid file names is the pretend client.
    bool isSteamClientRunning() const;
    /// Writes the store's file: keys such as "config/100/framegen".
    void storeValues(const QMap<QString, QString> &values) const;
};

/// What a game with default settings gets on the player's machine.
inline const QString defaultOptions = QStringLiteral(
    "MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 "
    "MARROWPULSE_FG_RENDER_RES=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf "
    "-w 1280 -h 720 -W 1920 -H 1080 -F fsr -r 45 -f --force-windows-fullscreen -g -- %command%");

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

    MainWindow window;
    QLabel *const gpuLabel;
    QComboBox *const renderGpuCombo;
    QSplitter *const splitter;
    QListWidget *const gameList;
    QGroupBox *const settingsGroup;
    QCheckBox *const upscalingCheck;
    QComboBox *const renderResCombo;
    QComboBox *const outputResCombo;
    QCheckBox *const framegenCheck;
    QComboBox *const methodCombo;
    QComboBox *const holdbackCombo;
    QCheckBox *const frameCapCheck;
    QPushButton *const advancedButton;
    QLabel *const previewLabel;
    QPushButton *const refreshButton;
    QPushButton *const applyButton;
    QLabel *const statusLabel;

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

/// Where the box of each label starts, from the left of the window.
QMap<QString, int> leftEdgesOfBoxes(const QWidget &window);
