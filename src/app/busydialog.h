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

    /// Called for Esc; does nothing.
    void reject() override {}

protected:
    void closeEvent(QCloseEvent *event) override;
};
