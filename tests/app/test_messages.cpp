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
    void aTallBoxFitsTheScreen_data()
    {
        QTest::addColumn<int>("lines");
        QTest::newRow("120 lines") << 120;
        QTest::newRow("1000 lines") << 1000;
    }
    void aTallBoxFitsTheScreen()
    {
        QFETCH(const int, lines);
        const QString text = failures(lines);
        QVERIFY(endsIn(text, [&](QMessageBox *box) {
            QCOMPARE(box->text(), text);
            QCOMPARE(box->icon(), QMessageBox::Warning);
            QCOMPARE(box->buttons().size(), 1);
            const QRect room = box->screen()->availableGeometry();
            QVERIFY2(box->frameGeometry().height() <= room.height(),
                     QByteArray::number(box->frameGeometry().height()));
            const int lineHeight = labelOf(box)->fontMetrics().height(); // to read in
            QVERIFY(box->height() > qMin(40 * lineHeight, room.height() / 2));
            QVERIFY(box->width() > 20 * lineHeight);
            QVERIFY(box->width() < room.width() / 2);
            const QAbstractButton *ok = box->button(QMessageBox::Ok);
            QCOMPARE(ok->visibleRegion().boundingRect(), ok->rect());
            // Lines are not cut: as wide as the widest, and scrolled in one direction only.
            const auto *area = box->findChild<QScrollArea *>();
            QVERIFY(area && area->verticalScrollBar()->isVisible());
            QVERIFY(!area->horizontalScrollBar()->isVisible());
            QVERIFY(labelOf(box)->width() >=
                    labelOf(box)->fontMetrics().horizontalAdvance(text.section(u'\n', 1, 1)));
            QVERIFY(labelOf(box)->height() >= lines * labelOf(box)->fontMetrics().height());
            QTest::mouseClick(box->button(QMessageBox::Ok), Qt::LeftButton);
        }));
    }

    void linesWiderThanTheBoxAreBroken()
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

    void whatFitsIsNotScrolled_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("one line") << u"Steam did not exit; nothing was changed."_s;
        QTest::newRow("three failures") << failures(3);
    }
    void whatFitsIsNotScrolled()
    {
        QFETCH(const QString, text);
        QVERIFY(endsIn(text, [&](QMessageBox *box) {
            for (const QScrollBar *bar : box->findChildren<QScrollBar *>())
                QVERIFY(!bar->isVisible());
            const QLabel *label = labelOf(box);
            QCOMPARE(label->visibleRegion().boundingRect(), label->rect());
            QVERIFY(label->height() >= label->sizeHint().height());
            QTest::keyClick(box, Qt::Key_Escape);
        }));
    }

    void keysEndABox_data()
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
    void keysEndABox()
    {
        QFETCH(const QString, text);
        QFETCH(const Qt::Key, key);
        QVERIFY(endsIn(text, [&](QMessageBox *box) {
            QVERIFY(QTest::qWaitForWindowActive(box));
            QTest::keyClick(QApplication::focusWidget(), key);
        }));
    }

    void theKeyboardReachesTheEndOfATallText()
    {
        QVERIFY(endsIn(failures(120), [&](QMessageBox *box) {
            QVERIFY(QTest::qWaitForWindowActive(box));
            const QScrollBar *bar = box->findChild<QScrollArea *>()->verticalScrollBar();
            for (int i = 0; i < 40; ++i)
                QTest::keyClick(QApplication::focusWidget(), Qt::Key_PageDown);
            QCOMPARE(bar->value(), bar->maximum());
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
        }));
    }

    void failuresAreCopiedAtOnce_data()
    {
        QTest::addColumn<int>("lines");
        QTest::addColumn<QString>("style");
        QTest::newRow("few") << 3 << u"fusion"_s;
        QTest::newRow("many") << 120 << u"fusion"_s;
        QTest::newRow("few, in a style that selects nothing by itself") << 3 << u"windows"_s;
    }
    void failuresAreCopiedAtOnce()
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

    void namesThatLookLikeMarkupAreShownAsTheyAre()
    {
        const auto text = u"Some changes failed:\n100: could not open <b>x</b>/localconfig.vdf"_s;
        QVERIFY(endsIn(text, [&](QMessageBox *box) {
            QCOMPARE(labelOf(box)->textFormat(), Qt::PlainText);
            QTest::keyClick(box, Qt::Key_Escape);
        }));
    }
};

QTEST_MAIN(TestMessages)
#include "test_messages.moc"
