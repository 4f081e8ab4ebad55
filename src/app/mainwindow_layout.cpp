// SPDX-License-Identifier: MIT
#include "app/mainwindow.h"

#include "app/choicebox.h"
#include "app/gamegroup.h"
#include "app/gamelist.h"
#include "app/labelcolumn.h"
#include "app/previewlabel.h"
#include "app/resolutionbox.h"
#include "app/widgets.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSplitter>
#include <QStackedLayout>
#include <QStandardItemModel>
#include <QStyle>

using namespace Qt::StringLiterals;

// The widget tree. Widgets are made in the order in which the eye reads them, which is the order in
// which Tab visits them.

namespace
{

/// A column whose parts stand closer than the style has them: what it saves is the preview's.
QVBoxLayout *newColumn(QWidget *parent, int margin)
{
    auto *layout = new QVBoxLayout(parent);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(4);
    return layout;
}

} // namespace

void MainWindow::buildUi()
{
    auto *central = new QWidget;
    setCentralWidget(central);
    QVBoxLayout *layout = newColumn(central, 6);
    buildGpuGroup(layout);
    buildGameArea(layout);
    buildBottomRow(layout);
    connectControls();
}

void MainWindow::buildGpuGroup(QVBoxLayout *layout)
{
    auto *group = new QGroupBox(u"GPUs"_s);
    layout->addWidget(group);
    QVBoxLayout *groupLayout = newColumn(group, 4);
    gpuLabel = named(new QLabel, u"gpuLabel"_s);
    gpuLabel->setWordWrap(true);
    gpuLabel->setMinimumWidth(1); // a long name must not widen the window
    groupLayout->addWidget(gpuLabel);
    renderGpuCombo = named(new ChoiceBox, u"renderGpuCombo"_s);
    LabelColumn().addRow(groupLayout, u"Rendering GPU:"_s, renderGpuCombo, 1);
}

void MainWindow::buildGameArea(QVBoxLayout *layout)
{
    auto *splitter = named(new QSplitter, u"splitter"_s);
    layout->addWidget(splitter, 1);
    gameList = named(new GameList, u"gameList"_s);
    splitter->addWidget(gameList);
    buildSettingsGroup();
    splitter->addWidget(settingsGroup);
    // The stretch factors rule resizing; the sizes, taken as proportions, rule the start.
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    splitter->setSizes({3000, 2000});
    splitter->setChildrenCollapsible(false);
}

void MainWindow::buildSettingsGroup()
{
    settingsGroup = named(new GameGroup, u"settingsGroup"_s);
    QVBoxLayout *layout = newColumn(settingsGroup, 4);
    LabelColumn boxes;

    upscalingCheck = named(new QCheckBox(u"Upscaling (FSR)"_s), u"upscalingCheck"_s);
    layout->addWidget(upscalingCheck);
    renderResCombo = named(new ResolutionBox, u"renderResCombo"_s);
    boxes.addRow(layout, u"Render resolution:"_s, renderResCombo, 1);
    outputResCombo = named(new ResolutionBox, u"outputResCombo"_s);
    boxes.addRow(layout, u"Output resolution:"_s, outputResCombo, 1);

    framegenCheck = named(new QCheckBox(u"Frame generation"_s), u"framegenCheck"_s);
    layout->addWidget(framegenCheck);
    methodCombo = named(new ChoiceBox, u"methodCombo"_s);
    methodCombo->addItems({u"MCFI (built-in)"_s, u"LSFG (Lossless Scaling)"_s});
    auto *methods = qobject_cast<QStandardItemModel *>(methodCombo->model());
    if (!lsfgAvailable && methods) {
        QStandardItem *lsfg = methods->item(1);
        lsfg->setFlags(lsfg->flags() & ~Qt::ItemIsEnabled);
        lsfg->setToolTip(
            u"Lossless Scaling not found. Install it on Steam to enable LSFG frame generation."_s);
    }
    boxes.addRow(layout, u"Method:"_s, methodCombo, 1);
    holdbackCombo = named(new ChoiceBox, u"holdbackCombo"_s);
    holdbackCombo->addItems({u"1 frame (low latency)"_s,
                             u"2 frames (smoother when fps dips below ~30, +1 frame latency)"_s});
    boxes.addRow(layout, u"Hold-back:"_s, holdbackCombo, 1);

    frameCapCheck = named(new QCheckBox, u"frameCapCheck"_s);
    frameCapCheck->setToolTip(
        u"Frame generation interpolates between the frames the game produces, so it works best when those arrive at a steady rate. Capping the game below your display's refresh rate is the biggest smoothness improvement available, and for games with no frame rate limit of their own it is the only way to get one. The cost is slightly more input delay. Use the gear button to set an exact value."_s);
    layout->addWidget(frameCapCheck);

    auto *preview = named(new PreviewLabel, u"previewLabel"_s);
    preview->setStyleSheet(u"color: gray; font-size: 8pt;"_s);
    previewLabel = preview;
    layout->addWidget(new PreviewArea(preview));

    layout->addStretch(0);
    auto *advancedRow = new QHBoxLayout;
    advancedRow->addStretch();
    advancedButton =
        named(new QPushButton(QIcon::fromTheme(u"preferences-system"_s), u"Advanced\u2026"_s),
              u"advancedButton"_s);
    advancedButton->setToolTip(
        u"Advanced settings for this game: exact frame rate cap, frame generation internals, and the in-game overlay."_s);
    advancedRow->addWidget(advancedButton);
    layout->addLayout(advancedRow);
}

void MainWindow::buildBottomRow(QVBoxLayout *layout)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(style()->pixelMetric(QStyle::PM_LayoutHorizontalSpacing));
    statusLabel = named(new QLabel, u"statusLabel"_s);
    // As high as its longest text, so that nothing moves when that comes; no wider than there is
    // room.
    auto *status = new QStackedLayout;
    row->addLayout(status, 1);
    for (QLabel *label : {statusLabel, new QLabel(pendingText(10000))}) {
        label->setWordWrap(true);
        status->addWidget(label);
    }
    refreshButton = named(new QPushButton(u"&Refresh"_s), u"refreshButton"_s);
    refreshButton->setToolTip(
        u"Re-scan installed Steam games (e.g. after installing one). Keeps unsaved changes."_s);
    row->addWidget(refreshButton);
    applyButton = named(new QPushButton(u"&Apply"_s), u"applyButton"_s);
    row->addWidget(applyButton);
    layout->addLayout(row);
}

void MainWindow::connectControls()
{
    const auto edited = [this] { onControlsEdited(); };
    connect(gameList, &QListWidget::itemChanged, this,
            [this](QListWidgetItem *item) { onGameItemChanged(item); });
    connect(gameList, &QListWidget::currentRowChanged, this, [this] { onGameSelected(); });
    connect(applyButton, &QAbstractButton::clicked, this, [this] { apply(); });
    connect(refreshButton, &QAbstractButton::clicked, this, [this] { reloadGames(); });
    connect(renderGpuCombo, &QComboBox::currentIndexChanged, this,
            [this] { updatePendingStatus(); });
    connect(advancedButton, &QAbstractButton::clicked, this, [this] { openAdvanced(); });
    for (QCheckBox *check : {upscalingCheck, framegenCheck, frameCapCheck})
        connect(check, &QAbstractButton::toggled, this, edited);
    for (QComboBox *combo : {renderResCombo, outputResCombo})
        connect(combo, &QComboBox::currentTextChanged, this, edited);
    for (QComboBox *combo : {holdbackCombo, methodCombo})
        connect(combo, &QComboBox::currentIndexChanged, this, edited);
}
