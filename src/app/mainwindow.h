// SPDX-License-Identifier: MIT
#pragma once

#include "hw/gpuinfo.h"
#include "launch/gamesettings.h"
#include "steam/gamescan.h"

#include <QList>
#include <QMainWindow>
#include <QMap>
#include <QSet>
#include <QSettings>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QListWidget;
class QListWidgetItem;
class QPushButton;
class QVBoxLayout;
class ResolutionBox;

struct AppliedChanges;
namespace steam
{
struct LaunchOptionsChange;
}

/// The program's window. It owns all state of a run: the GPUs, the games of the last scan, and the
/// settings and ticks that the user gave them. Only apply() writes to the disk.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow();

    /// Writes every pending change to Steam's file, and asks the user on the way. Does nothing
    /// while another Apply runs or a dialog is open.
    void apply();

    /// The launch options that Steam should hold for the game now. Only this function decides that:
    /// the preview, the count of pending games and Apply call it.
    QString desiredLaunchOptions(const steam::GameEntry &game) const;

protected:
    void closeEvent(QCloseEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // The widget tree: mainwindow_layout.cpp
    void buildUi();
    void buildGpuGroup(QVBoxLayout *layout);
    void buildGameArea(QVBoxLayout *layout);
    void buildSettingsGroup();
    void buildBottomRow(QVBoxLayout *layout);
    void connectControls();

    // Start-up and state: mainwindow.cpp
    void populateGpuPanel();
    void reloadGames();
    const steam::GameEntry *currentGame() const;
    void updatePendingStatus();
    static QString pendingText(int count);
    bool isBusy() const;

    // Editing a game: mainwindow_editing.cpp
    void onGameSelected();
    void showGameSettings();
    void onControlsEdited();
    void onGameItemChanged(QListWidgetItem *item);
    void tickRowsOf(const QString &appid, Qt::CheckState state);
    void openAdvanced();
    void enableDependentControls(const launch::GameSettings &settings);
    void showRefusedSizes(const launch::GameSettings &settings);
    void showPreview();
    QString frameCapLabelText() const;
    /// Sets `width` and `height` if the text is an accepted size; otherwise leaves them as they
    /// are.
    static void parseResolution(const QString &text, int &width, int &height);

    // Applying: mainwindow_apply.cpp
    QList<steam::LaunchOptionsChange> stageChanges() const;
    bool closeSteam();
    QStringList takeOver(const QList<steam::LaunchOptionsChange> &staged,
                         const AppliedChanges &applied);
    static void letRepaint();

    QList<hw::GpuInfo> gpus;
    int compositingIndex = -1; ///< index in gpus of the one that drives the display; -1 for none
    QList<steam::GameEntry> games;                    ///< the last scan
    QMap<QString, launch::GameSettings> gameSettings; ///< by app id; kept for the whole run
    QSet<QString> enabledGames;                       ///< app ids of the ticked games
    QString libraryPrefix;
    QString losslessPath; ///< empty if Lossless Scaling is not installed
    bool lsfgAvailable = false;
    int refreshHz = 0; ///< 0 if unknown
    QSettings store;
    bool applying = false; ///< an Apply runs, until its last question is answered
    bool loading = false;  ///< the program, not the user, changes the controls or the list

    QLabel *gpuLabel = nullptr;
    QComboBox *renderGpuCombo = nullptr;
    QListWidget *gameList = nullptr;
    QLabel *emptyLabel = nullptr; ///< in the list's place while there are no games
    QGroupBox *settingsGroup = nullptr;
    QCheckBox *upscalingCheck = nullptr;
    ResolutionBox *renderResCombo = nullptr;
    ResolutionBox *outputResCombo = nullptr;
    QCheckBox *framegenCheck = nullptr;
    QComboBox *methodCombo = nullptr;
    QComboBox *holdbackCombo = nullptr;
    QCheckBox *frameCapCheck = nullptr;
    QPushButton *advancedButton = nullptr;
    QLabel *previewLabel = nullptr;
    QPushButton *refreshButton = nullptr;
    QPushButton *applyButton = nullptr;
    QLabel *statusLabel = nullptr;
};
