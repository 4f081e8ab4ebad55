// SPDX-License-Identifier: MIT
#include "app/busydialog.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>
#include <QWindow>

BusyDialog::BusyDialog(const QString &text, QWidget *window)
    : QProgressDialog(text, QString(), 0, 0, window)
{
    setWindowModality(Qt::WindowModal);
    disconnect(this, &QProgressDialog::canceled, this, nullptr); // which closing would send
    show();
    // The display server shows a window some time later. The caller will block the event loop for
    // half a second at a time, so wait here until the window is painted, but not long.
    const QDeadlineTimer patience(400);
    while (!windowHandle()->isExposed() && !patience.hasExpired()) {
        QCoreApplication::processEvents();
        QThread::msleep(5);
    }
    repaint();
    QCoreApplication::processEvents();
}
