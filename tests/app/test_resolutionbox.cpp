// SPDX-License-Identifier: MIT
#include "app/resolutionbox.h"

#include <QLineEdit>
#include <QTest>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

class TestResolutionBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void keysStepFromTheShownSizeAlsoIfItWasTyped_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<QString>("shown");
        QTest::newRow("up from an item") << u"1280x720"_s << Qt::Key_Up << u"1600x900"_s;
        QTest::newRow("down from an item") << u"1280x720"_s << Qt::Key_Down << u"960x540"_s;
        QTest::newRow("page up from an item") << u"1600x900"_s << Qt::Key_PageUp << u"1920x1080"_s;
        QTest::newRow("page down from an item")
            << u"1600x900"_s << Qt::Key_PageDown << u"1280x720"_s;
        QTest::newRow("up from another size") << u"1000x600"_s << Qt::Key_Up << u"1280x720"_s;
        QTest::newRow("down from another size") << u"1000x600"_s << Qt::Key_Down << u"960x540"_s;
        QTest::newRow("up from another size of an item's width")
            << u"1920x1000"_s << Qt::Key_Up << u"2560x1440"_s;
        QTest::newRow("down from another size of an item's width")
            << u"1920x1000"_s << Qt::Key_Down << u"1920x1080"_s;
        QTest::newRow("down from a size with blanks around it")
            << u" 1600x1000 "_s << Qt::Key_Down << u"1600x900"_s;
        QTest::newRow("up from the largest") << u"3840x2160"_s << Qt::Key_Up << u"3840x2160"_s;
        QTest::newRow("down from the smallest") << u"854x480"_s << Qt::Key_Down << u"854x480"_s;
        QTest::newRow("up from above the largest")
            << u"7680x4320"_s << Qt::Key_Up << u"7680x4320"_s;
        QTest::newRow("down from above the largest")
            << u"7680x4320"_s << Qt::Key_Down << u"3840x2160"_s;
        QTest::newRow("up from below the smallest") << u"640x360"_s << Qt::Key_Up << u"854x480"_s;
        QTest::newRow("down from below the smallest")
            << u"640x360"_s << Qt::Key_Down << u"640x360"_s;
    }
    void keysStepFromTheShownSizeAlsoIfItWasTyped()
    {
        QFETCH(QString, from);
        QFETCH(Qt::Key, key);
        QFETCH(QString, shown);
        for (const QString &chosen : {u"1920x1080"_s, shown}) {
            ResolutionBox box;
            box.setCurrentIndex(box.findText(chosen));
            box.setEditText(from);
            QTest::keyClick(&box, key);
            QCOMPARE(box.currentText(), shown);
            if (shown != from) // the list opens there
                QCOMPARE(box.itemText(box.currentIndex()), shown);
        }
    }

    void onlyArrowAndPageKeysStep_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<Qt::KeyboardModifiers>("modifiers");
        QTest::addColumn<QString>("shown");
        using Modifiers = Qt::KeyboardModifiers;
        const auto same = u"1000x600"_s;
        QTest::newRow("keypad up") << Qt::Key_Up << Modifiers(Qt::KeypadModifier) << u"1280x720"_s;
        QTest::newRow("keypad down")
            << Qt::Key_Down << Modifiers(Qt::KeypadModifier) << u"960x540"_s;
        QTest::newRow("control and up") << Qt::Key_Up << Modifiers(Qt::ControlModifier) << same;
        QTest::newRow("control and down") << Qt::Key_Down << Modifiers(Qt::ControlModifier) << same;
        QTest::newRow("control and page up")
            << Qt::Key_PageUp << Modifiers(Qt::ControlModifier) << u"1280x720"_s;
        QTest::newRow("control and page down")
            << Qt::Key_PageDown << Modifiers(Qt::ControlModifier) << u"960x540"_s;
        QTest::newRow("another key") << Qt::Key_Left << Modifiers() << same;
        QTest::newRow("a key of the text") << Qt::Key_Backspace << Modifiers() << u"1000x60"_s;
    }
    void onlyArrowAndPageKeysStep()
    {
        QFETCH(Qt::Key, key);
        QFETCH(Qt::KeyboardModifiers, modifiers);
        ResolutionBox box;
        box.setEditText(u"1000x600"_s);
        QTest::keyClick(&box, key, modifiers);
        QTEST(box.currentText(), "shown");
    }

    void theListOpensAtTheShownSizeAndEnterAddsNothing()
    {
        ResolutionBox box;
        box.showResolution(1600, 900);
        QCOMPARE(box.itemText(box.currentIndex()), u"1600x900"_s);
        const int sizes = box.count();
        box.showResolution(2000, 1000);
        QCOMPARE(box.currentIndex(), -1);
        QTest::keyClick(&box, Qt::Key_Return);
        QCOMPARE(box.count(), sizes);
        QCOMPARE(box.currentText(), u"2000x1000"_s);
    }

    void theWheelStepsFromTheShownSize_data()
    {
        QTest::addColumn<int>("turned"); // above zero away from the user
        QTest::addColumn<QString>("shown");
        QTest::newRow("towards the user") << -120 << u"960x540"_s;
        QTest::newRow("away") << 120 << u"1280x720"_s;
        QTest::newRow("slowly towards the user") << -1 << u"960x540"_s;
        QTest::newRow("slowly away") << 1 << u"1280x720"_s;
        QTest::newRow("sideways") << 0 << u"1000x600"_s;
    }
    void theWheelStepsFromTheShownSize()
    {
        QFETCH(const int, turned);
        ResolutionBox box;
        box.setEditText(u"1000x600"_s);
        QWheelEvent event({5, 5}, box.mapToGlobal(QPointF(5, 5)), {}, {120 - qAbs(turned), turned},
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(&box, &event);
        QTEST(box.currentText(), "shown");
    }
};

QTEST_MAIN(TestResolutionBox)
#include "test_resolutionbox.moc"
