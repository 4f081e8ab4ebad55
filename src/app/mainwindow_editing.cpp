// SPDX-License-Identifier: MIT
#include "app/mainwindow.h"

#include "app/advanceddialog.h"
#include "app/resolutionbox.h"
#include "launch/launchoptions.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QSignalBlocker>

using namespace Qt::StringLiterals;

// Shows the current game's record in the controls, and takes their changes into the record.

void MainWindow::onGameSelected()
{
    const steam::GameEntry *game = currentGame();
    const bool isEnabled = game && enabledGames.contains(game->appid);
    settingsGroup->setEnabled(isEnabled);
    settingsGroup->setToolTip(
        game && !isEnabled ? u"Tick this game in the list to change its settings."_s : QString());
    // A single ampersand in a group box title would mark a shortcut.
    QString name = game ? ": "_L1 + game->name : QString();
    settingsGroup->setTitle("Game settings"_L1 + name.replace(u'&', u"&&"_s));
    showGameSettings();
}

void MainWindow::showGameSettings()
{
    const steam::GameEntry *game = currentGame();
    if (!game)
        return;
    const launch::GameSettings settings = gameSettings[game->appid];
    loading = true;
    upscalingCheck->setChecked(settings.upscaling);
    renderResCombo->showResolution(settings.renderW, settings.renderH);
    outputResCombo->showResolution(settings.outputW, settings.outputH);
    showRefusedSizes(settings);
    framegenCheck->setChecked(settings.framegen);
    methodCombo->setCurrentIndex(settings.fgbackend == 1 && lsfgAvailable ? 1 : 0);
    holdbackCombo->setCurrentIndex(settings.holdback == 2 ? 1 : 0);
    enableDependentControls(settings);
    frameCapCheck->setText(frameCapLabelText());
    frameCapCheck->setChecked(settings.framecap);
    loading = false;
    showPreview();
}

void MainWindow::onControlsEdited()
{
    const steam::GameEntry *game = currentGame();
    if (loading || !game)
        return;
    launch::GameSettings &settings = gameSettings[game->appid];
    settings.upscaling = upscalingCheck->isChecked();
    parseResolution(renderResCombo->currentText(), settings.renderW, settings.renderH);
    parseResolution(outputResCombo->currentText(), settings.outputW, settings.outputH);
    settings.framegen = framegenCheck->isChecked();
    settings.fgbackend = methodCombo->currentIndex() == 1 && lsfgAvailable ? 1 : 0;
    settings.holdback = holdbackCombo->currentIndex() == 1 ? 2 : 1;
    settings.framecap = frameCapCheck->isChecked();
    enableDependentControls(settings);
    showRefusedSizes(settings);
    updatePendingStatus();
}

void MainWindow::onGameItemChanged(QListWidgetItem *item)
{
    if (loading)
        return;
    const QString appid = item->data(Qt::UserRole).toString();
    if (item->checkState() == Qt::Checked)
        enabledGames.insert(appid);
    else
        enabledGames.remove(appid);
    tickRowsOf(appid, item->checkState());
    gameList->setCurrentItem(item);
    onGameSelected();
    updatePendingStatus();
}

/// Gives every row of the game the same tick: a game has a row for each library that holds it.
void MainWindow::tickRowsOf(const QString &appid, Qt::CheckState state)
{
    const QSignalBlocker silence(gameList);
    for (int row = 0; row < gameList->count(); ++row) {
        if (gameList->item(row)->data(Qt::UserRole) == appid)
            gameList->item(row)->setCheckState(state);
    }
}

void MainWindow::openAdvanced()
{
    const steam::GameEntry *game = currentGame();
    if (!game || isBusy())
        return;
    const QString appid = game->appid;
    AdvancedDialog dialog(gameSettings[appid], refreshHz, this);
    if (dialog.exec() != QDialog::Accepted)
        return;
    gameSettings[appid] = dialog.result();
    showGameSettings();
    updatePendingStatus();
}

void MainWindow::enableDependentControls(const launch::GameSettings &settings)
{
    renderResCombo->setEnabled(settings.upscaling);
    methodCombo->setEnabled(settings.framegen);
    holdbackCombo->setEnabled(settings.framegen);
}

/// Marks each box in which the typed size is not accepted.
void MainWindow::showRefusedSizes(const launch::GameSettings &settings)
{
    const auto show = [](ResolutionBox *box, int width, int height) {
        const bool isTaken = readResolution(box->currentText()) == QSize(width, height);
        box->setRefused(
            isTaken
                ? QString()
                : u"Not accepted: widths from 320 to 7680, heights from 200 to 4320, such as 1706x960. %1 stays in force."_s
                      .arg(resolutionText(width, height)));
    };
    show(renderResCombo, settings.renderW, settings.renderH);
    show(outputResCombo, settings.outputW, settings.outputH);
}

void MainWindow::showPreview()
{
    const steam::GameEntry *game = currentGame();
    previewLabel->setText(game ? desiredLaunchOptions(*game) : QString());
}

QString MainWindow::frameCapLabelText() const
{
    const steam::GameEntry *game = currentGame();
    const int cap = launch::frameCapInForce(
        game ? gameSettings.value(game->appid) : launch::GameSettings(), refreshHz);
    return u"Limit frame rate to %1 fps (smoother)"_s.arg(cap);
}

void MainWindow::parseResolution(const QString &text, int &width, int &height)
{
    const QSize size = readResolution(text);
    if (size.width() < 320 || size.width() > 7680 || size.height() < 200 || size.height() > 4320)
        return;
    width = size.width();
    height = size.height();
}
