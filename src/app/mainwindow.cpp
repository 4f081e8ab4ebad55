// SPDX-License-Identifier: MIT
#include "app/mainwindow.h"

#include "app/gameitem.h"
#include "app/widgets.h"
#include "hw/gpuenumeration.h"
#include "hw/pcielink.h"
#include "hw/refreshrate.h"
#include "launch/launchoptions.h"
#include "launch/libraryprefix.h"
#include "launch/settingsstore.h"

#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QHelpEvent>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QScopeGuard>
#include <QScrollBar>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QToolTip>

#include <algorithm>

using namespace Qt::StringLiterals;

MainWindow::MainWindow() : store(u"Marrowpulse"_s, u"Marrowpulse"_s)
{
    store.setFallbacksEnabled(false); // read no other settings file
    setWindowTitle(u"Marrowpulse"_s);
    resize(QSize(900, 620).boundedTo(roomForWindow(*this)));
    libraryPrefix = launch::readLibraryPrefix();
    losslessPath = steam::findLosslessScalingDll();
    lsfgAvailable = !losslessPath.isEmpty();
    refreshHz = hw::detectRefreshRate();
    buildUi();
    qApp->installEventFilter(this);
    populateGpuPanel();
    reloadGames();
    gameList->setFocus();
}

QString MainWindow::desiredLaunchOptions(const steam::GameEntry &game) const
{
    if (compositingIndex < 0)
        return game.launchOptions;
    if (enabledGames.contains(game.appid)) {
        return launch::composeLaunchOptions(gameSettings.value(game.appid), gpus[compositingIndex],
                                            gpus[renderGpuCombo->currentData().toInt()],
                                            libraryPrefix, losslessPath, refreshHz);
    }
    const QString original = launch::originalLaunchOptions(store, game.appid);
    if (!original.isEmpty())
        return original;
    return launch::isOwnLaunchOptions(game.launchOptions) ? QString() : game.launchOptions;
}

void MainWindow::closeEvent(QCloseEvent *event)
{
    event->setAccepted(!isBusy());
}

/// True while an Apply runs or a dialog is open. Then the window starts nothing else and does not
/// close: assistive tools can reach the buttons behind a dialog.
bool MainWindow::isBusy() const
{
    return applying || QApplication::activeModalWidget();
}

/// For all widgets: the wheel does not change a box without the focus, and tool tips are broken
/// into lines. Qt breaks only markup, so plain text is escaped into markup.
bool MainWindow::eventFilter(QObject *watched, QEvent *event)
{
    auto *widget = qobject_cast<QWidget *>(watched);
    if (!widget || (event->type() != QEvent::Wheel && event->type() != QEvent::ToolTip))
        return QMainWindow::eventFilter(watched, event);
    if (event->type() == QEvent::Wheel) {
        const bool isBox = qobject_cast<QComboBox *>(widget) || qobject_cast<QSpinBox *>(widget);
        return isBox && !widget->hasFocus();
    }
    const auto *help = static_cast<QHelpEvent *>(event);
    QString text = widget->toolTip();
    QRect place; // the tip stays while the pointer is in it
    if (const auto *view = qobject_cast<QAbstractItemView *>(widget->parentWidget())) {
        const QModelIndex index = view->indexAt(help->pos());
        text = index.data(Qt::ToolTipRole).toString();
        place = view->visualRect(index);
    }
    if (text.isEmpty())
        return false;
    QToolTip::showText(help->globalPos(),
                       "<p style=\"white-space: pre-wrap\">"_L1 + breakable(text).toHtmlEscaped() +
                           "</p>"_L1,
                       widget, place);
    return true;
}

void MainWindow::populateGpuPanel()
{
    gpus = hw::enumerateGpus();
    compositingIndex = hw::chooseCompositingGpu(gpus);
    if (compositingIndex < 0) {
        gpuLabel->setText(u"<b>No GPU detected.</b> Marrowpulse needs /sys/class/drm access."_s);
        applyButton->setEnabled(false);
        return;
    }
    const hw::GpuInfo &compositing = gpus[compositingIndex];
    gpuLabel->setText(u"Compositing GPU (drives the display): <b>%1</b><br>Link: %2"_s.arg(
        breakable(hw::gpuDisplayName(compositing)).toHtmlEscaped(),
        hw::linkDescription(compositing).toHtmlEscaped()));
    for (int i = 0; i < gpus.size(); ++i) {
        QString text = hw::gpuDisplayName(gpus[i]) + ", "_L1 + hw::linkDescription(gpus[i]);
        if (i == compositingIndex)
            text += "  [same as compositing GPU]"_L1;
        renderGpuCombo->addItem(text, i);
    }
    renderGpuCombo->setCurrentIndex(hw::chooseDefaultRenderGpu(gpus, compositingIndex));
}

void MainWindow::reloadGames()
{
    if (isBusy())
        return;
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    const auto waiting = qScopeGuard(&QGuiApplication::restoreOverrideCursor);
    store.sync(); // another window may have saved a game's own options
    const steam::GameEntry *previous = currentGame();
    const QString selected = previous ? previous->appid : QString();
    const int place = gameList->verticalScrollBar()->value();

    // Block the list's signals until it is filled again: while no game is selected, the controls
    // would be disabled, and the one with the keyboard focus would lose it.
    const QSignalBlocker silence(gameList);
    loading = true;
    gameList->clear();
    games = steam::scanGames();
    int row = -1; // of the game that was selected
    for (const steam::GameEntry &game : games) {
        if (!gameSettings.contains(game.appid)) {
            const launch::LoadedGame loaded =
                launch::loadGameSettings(store, game.appid, game.launchOptions);
            gameSettings.insert(game.appid, loaded.settings);
            if (loaded.enabled)
                enabledGames.insert(game.appid);
        }
        auto *item = new GameItem(game.name, game.iconPath);
        item->setData(Qt::UserRole, game.appid);
        item->setCheckState(enabledGames.contains(game.appid) ? Qt::Checked : Qt::Unchecked);
        if (row < 0 && game.appid == selected)
            row = gameList->count();
        gameList->addItem(item);
    }
    loading = false;
    emptyLabel->setVisible(games.isEmpty());
    gameList->setAccessibleDescription(games.isEmpty() ? emptyLabel->text() : QString());

    gameList->setCurrentRow(std::max(row, 0)); // and scrolls to it
    if (row >= 0)
        gameList->verticalScrollBar()->setValue(place);
    onGameSelected();
    updatePendingStatus();
    if (isActiveWindow() && !focusWidget())
        gameList->setFocus();
}

const steam::GameEntry *MainWindow::currentGame() const
{
    const QListWidgetItem *item = gameList->currentItem();
    if (!item)
        return nullptr;
    const QString appid = item->data(Qt::UserRole).toString();
    const auto found = std::find_if(games.cbegin(), games.cend(),
                                    [&](const auto &game) { return game.appid == appid; });
    return found == games.cend() ? nullptr : &*found;
}

QString MainWindow::pendingText(int count)
{
    return u"%1 game(s) with pending changes. Steam must close briefly to apply."_s.arg(count);
}

/// Counts the pending games, and shows in each game's row whether it is pending, and the own
/// options that a tick would replace.
void MainWindow::updatePendingStatus()
{
    const QSignalBlocker silence(gameList); // this is no tick of the user's
    int count = 0;
    for (int row = 0; row < games.size(); ++row) {
        const steam::GameEntry &game = games[row];
        const bool isPending = desiredLaunchOptions(game) != game.launchOptions;
        count += isPending;
        QString warning;
        if (!enabledGames.contains(game.appid) && launch::isUsersOwn(game.launchOptions))
            warning =
                "Has custom launch options; enabling will replace them (restored on disable):\n"_L1 +
                game.launchOptions;
        QListWidgetItem *item = gameList->item(row);
        item->setData(GameItem::PendingRole, isPending);
        item->setData(Qt::ToolTipRole, warning.isEmpty() ? QVariant() : warning);
        const QString words = isPending ? "Change not applied yet.\n"_L1 + warning : warning;
        item->setData(Qt::AccessibleDescriptionRole, words.trimmed());
    }
    applyButton->setEnabled(count >= 1);
    statusLabel->setText(count == 0 ? u"No pending changes."_s : pendingText(count));
    showPreview();
}
