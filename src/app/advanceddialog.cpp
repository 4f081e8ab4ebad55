// SPDX-License-Identifier: MIT
#include "app/advanceddialog.h"

#include "app/labelcolumn.h"
#include "app/widgets.h"
#include "launch/launchoptions.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QGroupBox>
#include <QLabel>
#include <QSpinBox>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// A small gray text that describes the control it stands under, to assistive tools too.
void addHelpLabel(QVBoxLayout *layout, const QString &text, QWidget *described)
{
    auto *label = new QLabel(text);
    label->setWordWrap(true);
    label->setStyleSheet(u"color: gray; font-size: 8pt;"_s);
    layout->addWidget(label);
    described->setAccessibleDescription(text);
}

} // namespace

AdvancedDialog::AdvancedDialog(const launch::GameSettings &gameSettings, int refreshRate,
                               QWidget *parent)
    : QDialog(parent), settings(gameSettings), refreshHz(refreshRate)
{
    setWindowTitle(u"Advanced settings"_s);
    setMinimumWidth(480);

    auto *layout = new QVBoxLayout(this);
    LabelColumn boxes;
    buildFrameCapGroup(layout, boxes);
    buildFramegenGroup(layout, boxes);
    buildDiagnosticsGroup(layout);
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(named(buttons, u"buttons"_s));

    showSettings();
    connect(limitCheck, &QCheckBox::toggled, this, [this] { synchroniseEnabledStates(); });
    connect(automaticCheck, &QCheckBox::toggled, this, [this] { synchroniseEnabledStates(); });
    synchroniseEnabledStates();
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

void AdvancedDialog::buildFrameCapGroup(QVBoxLayout *layout, LabelColumn &boxes)
{
    auto *group = new QGroupBox(u"Frame rate cap"_s);
    layout->addWidget(group);
    auto *groupLayout = new QVBoxLayout(group);
    limitCheck = named(new QCheckBox(u"Limit the game's frame rate"_s), u"limitCheck"_s);
    groupLayout->addWidget(limitCheck);
    automaticCheck =
        named(new QCheckBox(u"Automatic (75% of the display refresh rate)"_s), u"automaticCheck"_s);
    groupLayout->addWidget(automaticCheck);
    capSpin = named(new QSpinBox, u"capSpin"_s);
    capSpin->setRange(20, 480);
    capSpin->setSuffix(u" fps"_s);
    boxes.addRow(groupLayout, u"Cap at:"_s, capSpin, 0)->addStretch();
    const QString rate = refreshHz < 1 ? u"unknown, assuming 60"_s : QString::number(refreshHz);
    addHelpLabel(
        groupLayout,
        u"A steady base frame rate is what frame generation interpolates from, so capping the game is the single biggest smoothness improvement available, and it is the only limiter for games that have none of their own. It costs a little input delay, because a lower base rate means each frame is held slightly longer. Detected refresh rate: %1 Hz."_s
            .arg(rate),
        capSpin);
}

void AdvancedDialog::buildFramegenGroup(QVBoxLayout *layout, LabelColumn &boxes)
{
    auto *group = new QGroupBox(u"Frame generation"_s);
    layout->addWidget(group);
    auto *groupLayout = new QVBoxLayout(group);
    renderResolutionCheck = named(new QCheckBox(u"Interpolate before upscaling (recommended)"_s),
                                  u"renderResolutionCheck"_s);
    renderResolutionCheck->setToolTip(
        u"Generate frames at the game's render resolution instead of the output resolution. Roughly halves the cost of frame generation. Needs a compositor built with LSFG support."_s);
    groupLayout->addWidget(renderResolutionCheck);
    pacingCombo = named(new QComboBox, u"pacingCombo"_s);
    pacingCombo->addItem(u"Off (recommended)"_s, 0);
    pacingCombo->addItem(u"Balanced"_s, 22);
    pacingCombo->addItem(u"Aggressive"_s, 14);
    boxes.addRow(groupLayout, u"Presenter pacing:"_s, pacingCombo, 1);
    addHelpLabel(
        groupLayout,
        u"Experimental. Holds fewer finished frames in the display queue, which cuts input delay, but leaves less slack to absorb a heavy scene. In testing it saved a few milliseconds and cost occasional dropped frames, so Off is the tested default."_s,
        pacingCombo);
}

void AdvancedDialog::buildDiagnosticsGroup(QVBoxLayout *layout)
{
    auto *group = new QGroupBox(u"Diagnostics"_s);
    layout->addWidget(group);
    auto *groupLayout = new QVBoxLayout(group);
    overlayCheck =
        named(new QCheckBox(u"Show frame generation overlay in game"_s), u"overlayCheck"_s);
    overlayCheck->setToolTip(
        u"Draws live counters in the top-left corner: target and effective frame rate, generated and duplicated frames, and dropped frames."_s);
    groupLayout->addWidget(overlayCheck);
}

void AdvancedDialog::showSettings()
{
    limitCheck->setChecked(settings.framecap);
    automaticCheck->setChecked(settings.caphz < 1);
    capSpin->setValue(launch::frameCapInForce(settings, refreshHz));
    renderResolutionCheck->setChecked(settings.renderres);
    // A value that is no item's reads as off.
    pacingCombo->setCurrentIndex(std::max(0, pacingCombo->findData(settings.pacing)));
    overlayCheck->setChecked(settings.debugoverlay);
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
