// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>

class QWidget;

/// Keeps the wheel from changing a box that the pointer only passes: without the keyboard focus the
/// box takes no notice of it, nor the focus from it. Lives as long as the box.
class WheelGuard : public QObject
{
    Q_OBJECT

public:
    explicit WheelGuard(QWidget *box);

protected:
    bool eventFilter(QObject *box, QEvent *event) override;
};
