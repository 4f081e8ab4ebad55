// SPDX-License-Identifier: MIT
#include "app/wheelguard.h"

#include <QEvent>
#include <QWidget>

WheelGuard::WheelGuard(QWidget *box) : QObject(box)
{
    box->setFocusPolicy(Qt::StrongFocus); // a box's own policy takes the focus by the wheel, too
    box->installEventFilter(this);
}

bool WheelGuard::eventFilter(QObject *box, QEvent *event)
{
    return event->type() == QEvent::Wheel && !static_cast<QWidget *>(box)->hasFocus();
}
