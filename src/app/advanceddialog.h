// SPDX-License-Identifier: MIT
#pragma once

#include "launch/gamesettings.h"

#include <QDialog>

class QCheckBox;
class QComboBox;
class QSpinBox;
class QVBoxLayout;

/// The modal dialog for the less common settings of one game. It writes nothing itself: the caller
/// takes result() when the dialog was accepted.
class AdvancedDialog : public QDialog
{
    Q_OBJECT

public:
    /// `refreshHz` is the display's refresh rate, below 1 when unknown.
    AdvancedDialog(const launch::GameSettings &settings, int refreshHz, QWidget *parent);

    /// The settings that the dialog was opened with, changed as its controls show. What the dialog
    /// has no control for comes back as it was.
    launch::GameSettings result() const;

private:
    void buildFrameCapGroup(QVBoxLayout *layout);
    void buildFramegenGroup(QVBoxLayout *layout);
    void buildDiagnosticsGroup(QVBoxLayout *layout);
    void showSettings();
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
