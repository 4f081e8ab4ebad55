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

/// The program's window. It owns all working state of a run: the GPUs, the games of the last scan
/// and the settings and marks that the user gave them. Only apply() writes anything to the disk.
class MainWindow : public QMainWindow
{
    Q_OBJECT

public:
    MainWindow();

    /// Carries every pending change into Steam's file, asking the user on the way; see
    /// mainwindow_apply.cpp.
    void apply();

    /// What Steam should hold for the game now. The one rule by which pending games are counted and
    /// changes are applied.
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
    void addGameItem(const steam::GameEntry &game);
    const steam::GameEntry *currentGame() const;
    void updatePendingStatus();
    static QString pendingText(int count);
    void renewRow(int row, bool isPending);
    bool isPending(const steam::GameEntry &game) const;
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
    /// Puts the size into the last two if the text is one that is accepted.
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
    QSet<QString> enabledGames;                       ///< app ids of the checked games
    QString libraryPrefix;
    QString losslessPath; ///< empty when Lossless Scaling is not installed
    bool lsfgAvailable = false;
    int refreshHz = 0; ///< 0 when unknown
    QSettings store;
    bool applying = false; ///< an Apply runs, from its start to the answer to its last question
    bool loading = false;  ///< the program, not the user, is changing the controls or the list

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
