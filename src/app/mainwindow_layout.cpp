// SPDX-License-Identifier: MIT
#include "app/mainwindow.h"

#include "app/choicebox.h"
#include "app/gamelist.h"
#include "app/resolutionbox.h"
#include "app/scrolledpart.h"
#include "app/widgets.h"

#include <QAction>
#include <QBoxLayout>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QSplitter>
#include <QStackedLayout>
#include <QStandardItemModel>
#include <QStaticText>
#include <QStyle>
#include <QStyleOptionGroupBox>
#include <QtMath>

using namespace Qt::StringLiterals;

// Builds the widget tree. Tab visits widgets in the order of their creation, so they are created in
// reading order.

namespace
{

/// The group box around a game's settings. Its title holds the game's name, and does not widen the
/// window: it is cut where it does not fit.
class GameGroup : public QGroupBox
{
public:
    QSize minimumSizeHint() const override
    {
        // The base class adds the title's width.
        return {QWidget::minimumSizeHint().width(), QGroupBox::minimumSizeHint().height()};
    }

protected:
    void initStyleOption(QStyleOptionGroupBox *option) const override
    {
        QGroupBox::initStyleOption(option);
        QFont widest = font();
        widest.setBold(true); // as some styles write it
        const QFontMetrics metrics(widest);
        const int room = width() - 2 * metrics.averageCharWidth();
        option->text = metrics.elidedText(option->text, Qt::ElideRight, room, Qt::TextShowMnemonic);
    }
};

/// Shows launch options. They are long and may have no blank for hundreds of letters, so a word
/// that is longer than a line is broken anywhere.
class PreviewLabel : public QLabel
{
public:
    QSize minimumSizeHint() const override
    {
        return {fontMetrics().maxWidth(), fontMetrics().lineSpacing()};
    }
    int heightForWidth(int width) const override { return qCeil(laidOut(width).size().height()); }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter(this).drawStaticText(0, 0, laidOut(width()));
    }

private:
    QStaticText laidOut(int width) const
    {
        QTextOption option;
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        QStaticText lines(text());
        lines.setTextFormat(Qt::PlainText);
        lines.setTextOption(option);
        lines.setTextWidth(width);
        lines.prepare({}, font());
        return lines;
    }
};

/// Makes a layout with narrow margins and gaps, which leave more room for the preview.
template <typename Layout>
Layout *newColumn(QWidget *parent, int margin)
{
    auto *layout = new Layout(parent);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->setSpacing(4);
    return layout;
}

} // namespace

void MainWindow::buildUi()
{
    auto *central = new QWidget;
    setCentralWidget(central);
    auto *layout = newColumn<QVBoxLayout>(central, 6);
    buildGpuGroup(layout);
    buildGameArea(layout);
    buildBottomRow(layout);
    connectControls();
}

void MainWindow::buildGpuGroup(QVBoxLayout *layout)
{
    auto *group = new QGroupBox(u"GPUs"_s);
    layout->addWidget(group);
    auto *form = newColumn<QFormLayout>(group, 4);
    gpuLabel = named(new QLabel, u"gpuLabel"_s);
    gpuLabel->setWordWrap(true);
    gpuLabel->setMinimumWidth(1); // a long name must not widen the window
    form->addRow(gpuLabel);
    renderGpuCombo = named(new ChoiceBox, u"renderGpuCombo"_s);
    addBox(form, u"Rendering GPU:"_s, renderGpuCombo);
}

void MainWindow::buildGameArea(QVBoxLayout *layout)
{
    auto *splitter = named(new QSplitter, u"splitter"_s);
    layout->addWidget(splitter, 1);
    gameList = named(new GameList, u"gameList"_s);
    QAction *copy = gameList->addAction(
        u"Copy launch options"_s, QKeySequence(QKeySequence::Copy), this,
        [this] { QGuiApplication::clipboard()->setText(previewLabel->text()); });
    copy->setShortcutContext(Qt::WidgetShortcut);
    gameList->setContextMenuPolicy(Qt::ActionsContextMenu);
    emptyLabel = named(
        new QLabel(
            u"No installed games were found.\n\nA Steam that was installed from Flatpak or Snap is not looked at."_s),
        u"emptyLabel"_s);
    emptyLabel->setAlignment(Qt::AlignCenter);
    emptyLabel->setWordWrap(true);
    (new QVBoxLayout(gameList->viewport()))->addWidget(emptyLabel);
    splitter->addWidget(gameList);
    buildSettingsGroup();
    splitter->addWidget(settingsGroup);
    // The sizes set the proportions at the start, the stretch factors those after resizing.
    splitter->setStretchFactor(0, 3);
    splitter->setStretchFactor(1, 2);
    splitter->setSizes({3000, 2000});
    splitter->setChildrenCollapsible(false);
    gameList->lower(); // for assistive tools, too, the list comes before the settings
}

void MainWindow::buildSettingsGroup()
{
    settingsGroup = named(new GameGroup, u"settingsGroup"_s);
    auto *layout = newColumn<QVBoxLayout>(settingsGroup, 4);
    auto *settings = new QWidget;
    auto *form = newColumn<QFormLayout>(settings, 0);

    upscalingCheck = named(new QCheckBox(u"Upscaling (FSR)"_s), u"upscalingCheck"_s);
    form->addRow(upscalingCheck);
    renderResCombo = named(new ResolutionBox, u"renderResCombo"_s);
    addBox(form, u"Render resolution:"_s, renderResCombo);
    outputResCombo = named(new ResolutionBox, u"outputResCombo"_s);
    addBox(form, u"Output resolution:"_s, outputResCombo);

    framegenCheck = named(new QCheckBox(u"Frame generation"_s), u"framegenCheck"_s);
    form->addRow(framegenCheck);
    methodCombo = named(new ChoiceBox, u"methodCombo"_s);
    methodCombo->addItems({u"MCFI (built-in)"_s, u"LSFG (Lossless Scaling)"_s});
    auto *methods = qobject_cast<QStandardItemModel *>(methodCombo->model());
    if (!lsfgAvailable && methods) {
        QStandardItem *lsfg = methods->item(1);
        lsfg->setFlags(lsfg->flags() & ~Qt::ItemIsEnabled);
        lsfg->setToolTip(
            u"Lossless Scaling not found. Install it on Steam to enable LSFG frame generation."_s);
    }
    addBox(form, u"Method:"_s, methodCombo);
    holdbackCombo = named(new ChoiceBox, u"holdbackCombo"_s);
    holdbackCombo->addItems({u"1 frame (low latency)"_s,
                             u"2 frames (smoother when fps dips below ~30, +1 frame latency)"_s});
    addBox(form, u"Hold-back:"_s, holdbackCombo);

    frameCapCheck = named(new QCheckBox, u"frameCapCheck"_s);
    frameCapCheck->setToolTip(
        u"Frame generation interpolates between the frames the game produces, so it works best when those arrive at a steady rate. Capping the game below your display's refresh rate is the biggest smoothness improvement available, and for games with no frame rate limit of their own it is the only way to get one. The cost is slightly more input delay. Use the gear button to set an exact value."_s);
    // As wide from the start as with a cap of three digits.
    frameCapCheck->setText(frameCapLabelText());
    frameCapCheck->setMinimumWidth(frameCapCheck->sizeHint().width() +
                                   frameCapCheck->fontMetrics().horizontalAdvance(u'0'));
    frameCapCheck->setText({});
    form->addRow(frameCapCheck);

    previewLabel = named(new PreviewLabel, u"previewLabel"_s);
    previewLabel->setTextFormat(Qt::PlainText); // launch options may look like markup
    previewLabel->setWordWrap(true);
    previewLabel->setStyleSheet(smallGrayStyle);
    form->addRow(new ScrolledPart(previewLabel, 2));
    layout->addWidget(new ScrolledPart(settings, 8));

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
    // As high as its longest text, so that nothing moves when that is shown, and no wider than the
    // room there is.
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
