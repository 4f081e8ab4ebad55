// SPDX-License-Identifier: MIT
#include "app/busydialog.h"

#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{

/// Notes whether a progress dialog was painted.
class PaintWatch : public QObject
{
public:
    PaintWatch() { qApp->installEventFilter(this); }
    bool seen = false;

    bool eventFilter(QObject *object, QEvent *event) override
    {
        seen = seen || (qobject_cast<QProgressDialog *>(object) && event->type() == QEvent::Paint);
        return false;
    }
};

} // namespace

class TestBusyDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theDialogIsPaintedBeforeItsCallerBlocks()
    {
        QWidget window;
        window.show();
        const PaintWatch watch;
        const BusyDialog busy(u"Waiting"_s, &window);
        QVERIFY(watch.seen); // from here on the caller may block the event loop
    }

    void theDialogDoesNotWaitOnceItIsOnTheScreen()
    {
        QWidget window;
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        int turns = 0; // of the event loop
        QTimer timer;
        connect(&timer, &QTimer::timeout, this, [&turns] { ++turns; });
        timer.start(0);
        const BusyDialog busy(u"Waiting"_s, &window);
        // Here a window is on the screen as soon as it is shown.
        QVERIFY2(turns <= 2, QByteArray::number(turns));
    }
};

QTEST_MAIN(TestBusyDialog)
#include "test_busydialog.moc"
