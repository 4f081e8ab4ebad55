// SPDX-License-Identifier: MIT
#include "app/messages.h"

#include "modaldialogs.h"

#include <QAbstractButton>
#include <QClipboard>
#include <QLabel>
#include <QMessageBox>
#include <QScopeGuard>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QStyle>
#include <QTest>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace
{

QString failures(int lines)
{
    QString text = u"Some changes failed:"_s;
    for (int i = 0; i < lines; ++i)
        text += u"\n%1: post-edit verification failed for %1"_s.arg(1000000 + i * 10);
    return text;
}

/// Shows the warning, has it looked at, and says whether it ended by what `look` did.
bool endsIn(const QString &text, const std::function<void(QMessageBox *)> &look)
{
    bool ended = false;
    const DialogVisit<QMessageBox> visit([&](QMessageBox *box) {
        box->activateWindow();
        look(box);
        ended = QTest::qWaitFor([box] { return !box->isVisible(); }, 1000);
    });
    QWidget window;
    window.show();
    warn(&window, text);
    return ended && visit.hasCome();
}

QLabel *labelOf(const QMessageBox *box)
{
    for (auto *label : box->findChildren<QLabel *>()) {
        if (label->text() == box->text())
            return label;
    }
    return nullptr;
}

} // namespace

class TestMessages : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void manyFailuresFitTheScreenAndScroll()
    {
        const QString text = failures(1000);
        QVERIFY(endsIn(text, [&](QMessageBox *box) {
            QCOMPARE(box->text(), text);
            QCOMPARE(box->icon(), QMessageBox::Warning);
            QCOMPARE(box->buttons().size(), 1);
            const QRect room = box->screen()->availableGeometry();
            QVERIFY2(box->frameGeometry().height() <= room.height(),
                     QByteArray::number(box->frameGeometry().height()));
            const QLabel *label = labelOf(box);
            const int lineHeight = label->fontMetrics().height(); // to read in
            QVERIFY(box->height() > qMin(40 * lineHeight, room.height() / 2));
            QVERIFY(box->width() > 20 * lineHeight && box->width() < room.width() / 2);
            const QAbstractButton *ok = box->button(QMessageBox::Ok);
            QCOMPARE(ok->visibleRegion().boundingRect(), ok->rect());
            // Lines are not cut: as wide as the widest, and scrolled in one direction only.
            const auto *area = box->findChild<QScrollArea *>();
            QVERIFY(area && area->verticalScrollBar()->isVisible());
            QVERIFY(area->height() > 0.45 * room.height());
            QVERIFY(!area->horizontalScrollBar()->isVisible());
            QVERIFY(label->width() >=
                    label->fontMetrics().horizontalAdvance(text.section(u'\n', 1, 1)));
            QVERIFY(label->height() >= 1000 * lineHeight);
            // The keyboard reaches the end.
            QVERIFY(QTest::qWaitForWindowActive(box));
            for (int i = 0; i < 400; ++i)
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_PageDown);
            QCOMPARE(area->verticalScrollBar()->value(), area->verticalScrollBar()->maximum());
            QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
        }));
    }

    void longLinesAreBroken()
    {
        const QString line = u"/a long name"_s.repeated(60) + u'\n';
        QVERIFY(endsIn(line.repeated(40), [&](QMessageBox *box) {
            const auto *area = box->findChild<QScrollArea *>();
            QVERIFY(area && box->rect().contains(area->geometry()));
            QVERIFY(!area->horizontalScrollBar()->isVisible());
            const QLabel *label = labelOf(box);
            QCOMPARE(label->width(), area->viewport()->width());
            QVERIFY(label->height() >= label->heightForWidth(label->width()));
            QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
        }));
    }

    void aTextThatFitsIsShownWholeAndAsItIs_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("one line") << u"Steam did not exit; nothing was changed."_s;
        QTest::newRow("three failures") << failures(3);
        QTest::newRow("a name like markup") << u"Failed:\n1: cannot open <b>x</b>"_s;
    }
    void aTextThatFitsIsShownWholeAndAsItIs()
    {
        QFETCH(const QString, text);
        QVERIFY(endsIn(text, [&](QMessageBox *box) {
            for (const QScrollBar *bar : box->findChildren<QScrollBar *>())
                QVERIFY(!bar->isVisible());
            const QLabel *label = labelOf(box);
            QCOMPARE(label->visibleRegion().boundingRect(), label->rect());
            QVERIFY(label->height() >= label->sizeHint().height());
            QCOMPARE(label->textFormat(), Qt::PlainText);
            QTest::keyClick(box, Qt::Key_Escape);
        }));
    }

    void keysCloseAMessage_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Qt::Key>("key");
        const auto line = u"Steam did not exit; nothing was changed."_s;
        QTest::newRow("one line, Return") << line << Qt::Key_Return;
        QTest::newRow("one line, Esc") << line << Qt::Key_Escape;
        QTest::newRow("one line, blank") << line << Qt::Key_Space;
        QTest::newRow("failures, Return") << failures(120) << Qt::Key_Return;
        QTest::newRow("failures, Esc") << failures(120) << Qt::Key_Escape;
    }
    void keysCloseAMessage()
    {
        QFETCH(const QString, text);
        QFETCH(const Qt::Key, key);
        QVERIFY(endsIn(text, [&](QMessageBox *box) {
            QVERIFY(QTest::qWaitForWindowActive(box));
            QTest::keyClick(QApplication::focusWidget(), key);
        }));
    }

    void failuresCanBeCopiedAtOnce_data()
    {
        QTest::addColumn<int>("lines");
        QTest::addColumn<QString>("style");
        QTest::newRow("few") << 3 << u"fusion"_s;
        QTest::newRow("many") << 120 << u"fusion"_s;
        QTest::newRow("few, in a style that selects nothing by itself") << 3 << u"windows"_s;
    }
    void failuresCanBeCopiedAtOnce()
    {
        QFETCH(const int, lines);
        QFETCH(const QString, style);
        const QString usual = QApplication::style()->name();
        QApplication::setStyle(style);
        const auto back = qScopeGuard([&usual] { QApplication::setStyle(usual); });
        QGuiApplication::clipboard()->setText(u"before"_s);
        QVERIFY(endsIn(failures(lines), [&](QMessageBox *box) {
            QVERIFY(QTest::qWaitForWindowActive(box));
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_A, Qt::ControlModifier);
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_C, Qt::ControlModifier);
            QCOMPARE(QGuiApplication::clipboard()->text(), failures(lines));
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
        }));
    }
};

QTEST_MAIN(TestMessages)
#include "test_messages.moc"
