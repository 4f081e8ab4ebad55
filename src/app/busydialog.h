// SPDX-License-Identifier: MIT
#pragma once

#include <QProgressDialog>

/// A busy indicator that the user can neither cancel nor close. It is visible and painted when the
/// constructor returns, and blocks its window until it is destroyed.
class BusyDialog : public QProgressDialog
{
    Q_OBJECT

public:
    BusyDialog(const QString &text, QWidget *window);
    /// What Esc and closing would do.
    void reject() override {}
};
