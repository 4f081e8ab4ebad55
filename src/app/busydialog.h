// SPDX-License-Identifier: MIT
#pragma once

#include <QProgressDialog>

/// A busy indicator that the user can neither cancel nor close: it blocks its window until it is
/// destroyed. Shown, and painted, when the constructor returns.
class BusyDialog : public QProgressDialog
{
    Q_OBJECT

public:
    BusyDialog(const QString &text, QWidget *window);

    /// What Esc would do.
    void reject() override {}

protected:
    void closeEvent(QCloseEvent *event) override;
};
