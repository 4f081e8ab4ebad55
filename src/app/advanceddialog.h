// SPDX-License-Identifier: MIT
#pragma once

#include "launch/gamesettings.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QSpinBox;
class QVBoxLayout;

/// The modal dialog for the less common settings of one game. It writes nothing to the disk: if the
/// user accepts it, the caller takes result().
class AdvancedDialog : public QDialog
{
    Q_OBJECT

public:
    /// `refreshHz` is the display's refresh rate in hertz, below 1 if unknown.
    AdvancedDialog(const launch::GameSettings &settings, int refreshHz, QWidget *parent);

    /// The settings that the controls show. Settings without a control are as they were when the
    /// dialog was opened.
    launch::GameSettings result() const;

private:
    void buildFrameCapGroup(QVBoxLayout *layout);
    void buildFramegenGroup(QVBoxLayout *layout);
    void buildDiagnosticsGroup(QVBoxLayout *layout);
    void synchroniseEnabledStates();

    const launch::GameSettings settings;
    const int refreshHz;

    QCheckBox *limitCheck = nullptr;
    QCheckBox *automaticCheck = nullptr;
    QSpinBox *capSpin = nullptr;
    QCheckBox *renderResolutionCheck = nullptr;
    QComboBox *pacingCombo = nullptr;
    QCheckBox *overlayCheck = nullptr;
};
