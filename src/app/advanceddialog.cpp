// SPDX-License-Identifier: MIT
#include "app/advanceddialog.h"

#include "app/scrolledpart.h"
#include "app/widgets.h"
#include "launch/launchoptions.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QSpinBox>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// Appends a group of rows.
QFormLayout *addGroup(QVBoxLayout *layout, const QString &title)
{
    auto *group = new QGroupBox(title);
    layout->addWidget(group);
    return new QFormLayout(group);
}

/// Appends a small gray text that describes the control above it, to assistive tools too.
void addHelp(QFormLayout *form, const QString &text, QWidget *described)
{
    auto *label = new QLabel(text);
    label->setWordWrap(true);
    label->setStyleSheet(smallGrayStyle);
    form->addRow(label);
    described->setAccessibleDescription(text);
}

} // namespace

AdvancedDialog::AdvancedDialog(const launch::GameSettings &gameSettings, int refreshRate,
                               QWidget *parent)
    : QDialog(parent), settings(gameSettings), refreshHz(refreshRate)
{
    setWindowTitle(u"Advanced settings"_s);
    setMinimumWidth(480);

    auto *groups = new QWidget;
    auto *column = new QVBoxLayout(groups);
    column->setContentsMargins({});
    buildFrameCapGroup(column);
    buildFramegenGroup(column);
    buildDiagnosticsGroup(column);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(new ScrolledPart(groups, 8));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(named(buttons, u"buttons"_s));

    limitCheck->setChecked(settings.framecap);
    automaticCheck->setChecked(settings.caphz < 1);
    capSpin->setValue(launch::frameCapInForce(settings, refreshHz));
    renderResolutionCheck->setChecked(settings.renderres);
    // A value that is not in the list shows as Off.
    pacingCombo->setCurrentIndex(std::max(0, pacingCombo->findData(settings.pacing)));
    overlayCheck->setChecked(settings.debugoverlay);
    connect(limitCheck, &QCheckBox::toggled, this, [this] { synchroniseEnabledStates(); });
    connect(automaticCheck, &QCheckBox::toggled, this, [this] { synchroniseEnabledStates(); });
    synchroniseEnabledStates();
    // By default Qt opens a dialog at most two thirds as high as the screen.
    resize(sizeHint().boundedTo(roomForWindow(*this)));
}

launch::GameSettings AdvancedDialog::result() const
{
    launch::GameSettings edited = settings;
    edited.framecap = limitCheck->isChecked();
    edited.caphz = automaticCheck->isChecked() ? 0 : capSpin->value();
    edited.renderres = renderResolutionCheck->isChecked();
    edited.pacing = pacingCombo->currentData().toInt();
    edited.debugoverlay = overlayCheck->isChecked();
    return edited;
}

void AdvancedDialog::buildFrameCapGroup(QVBoxLayout *layout)
{
    QFormLayout *form = addGroup(layout, u"Frame rate cap"_s);
    limitCheck = named(new QCheckBox(u"Limit the game's frame rate"_s), u"limitCheck"_s);
    form->addRow(limitCheck);
    automaticCheck =
        named(new QCheckBox(u"Automatic (75% of the display refresh rate)"_s), u"automaticCheck"_s);
    form->addRow(automaticCheck);
    capSpin = named(new QSpinBox, u"capSpin"_s);
    capSpin->setRange(20, 480);
    capSpin->setSuffix(u" fps"_s);
    capSpin->setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    addBox(form, u"Cap at:"_s, capSpin);
    const QString rate = refreshHz < 1 ? u"unknown, assuming 60"_s : QString::number(refreshHz);
    addHelp(
        form,
        u"A steady base frame rate is what frame generation interpolates from, so capping the game is the single biggest smoothness improvement available, and it is the only limiter for games that have none of their own. It costs a little input delay, because a lower base rate means each frame is held slightly longer. Detected refresh rate: %1 Hz."_s
            .arg(rate),
        capSpin);
}

void AdvancedDialog::buildFramegenGroup(QVBoxLayout *layout)
{
    QFormLayout *form = addGroup(layout, u"Frame generation"_s);
    renderResolutionCheck = named(new QCheckBox(u"Interpolate before upscaling (recommended)"_s),
                                  u"renderResolutionCheck"_s);
    renderResolutionCheck->setToolTip(
        u"Generate frames at the game's render resolution instead of the output resolution. Roughly halves the cost of frame generation. Needs a compositor built with LSFG support."_s);
    form->addRow(renderResolutionCheck);
    pacingCombo = named(new QComboBox, u"pacingCombo"_s);
    pacingCombo->addItem(u"Off (recommended)"_s, 0);
    pacingCombo->addItem(u"Balanced"_s, 22);
    pacingCombo->addItem(u"Aggressive"_s, 14);
    addBox(form, u"Presenter pacing:"_s, pacingCombo);
    addHelp(
        form,
        u"Experimental. Holds fewer finished frames in the display queue, which cuts input delay, but leaves less slack to absorb a heavy scene. In testing it saved a few milliseconds and cost occasional dropped frames, so Off is the tested default."_s,
        pacingCombo);
}

void AdvancedDialog::buildDiagnosticsGroup(QVBoxLayout *layout)
{
    QFormLayout *form = addGroup(layout, u"Diagnostics"_s);
    overlayCheck =
        named(new QCheckBox(u"Show frame generation overlay in game"_s), u"overlayCheck"_s);
    overlayCheck->setToolTip(
        u"Draws live counters in the top-left corner: target and effective frame rate, generated and duplicated frames, and dropped frames."_s);
    form->addRow(overlayCheck);
}

void AdvancedDialog::synchroniseEnabledStates()
{
    const bool limited = limitCheck->isChecked();
    const bool automatic = automaticCheck->isChecked();
    automaticCheck->setEnabled(limited);
    capSpin->setEnabled(limited && !automatic);
    if (automatic)
        capSpin->setValue(launch::defaultFrameCap(refreshHz));
}
