// SPDX-License-Identifier: MIT
#include "app/choicebox.h"

#include <QAbstractItemView>
#include <QImage>
#include <QPainter>
#include <QProxyStyle>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

template <typename Box>
QImage pictureOf(const QString &text, bool isEditable = false, int width = 160)
{
    Box box;
    box.setEditable(isEditable);
    box.addItem(text);
    box.resize(width, ChoiceBox().sizeHint().height());
    return box.grab().toImage();
}

/// What the text adds to the picture of an empty box, without what surrounds it.
template <typename Box>
QImage inkOf(const QString &text, int width)
{
    const QImage picture = pictureOf<Box>(text, false, width);
    const QImage empty = pictureOf<Box>(QString(), false, width);
    QRect ink;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (picture.pixel(x, y) != empty.pixel(x, y))
                ink |= QRect(x, y, 1, 1);
        }
    }
    return picture.copy(ink);
}

QImage pictureOf(const QString &text)
{
    return pictureOf<ChoiceBox>(text);
}

/// A style that writes in the colour that it is given.
class PlainStyle : public QProxyStyle
{
public:
    void drawComplexControl(ComplexControl, const QStyleOptionComplex *, QPainter *,
                            const QWidget *) const override
    {
    }
    void drawControl(ControlElement, const QStyleOption *option, QPainter *painter,
                     const QWidget *) const override
    {
        painter->drawText(option->rect, Qt::AlignCenter, u"text"_s);
    }
};

} // namespace

class TestChoiceBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTextThatDoesNotFitEndsInAnEllipsis()
    {
        const QImage shown = pictureOf(QString(60, u'm'));
        int fitting = 0; // how many letters are shown before the ellipsis
        for (int letters = 1; letters < 60; ++letters) {
            if (pictureOf(QString(letters, u'm') + u'\u2026') == shown)
                fitting = letters;
        }
        QVERIFY(fitting > 5);
    }

    void theEllipsisIsShownWhole()
    {
        const QString text(60, u'i');
        QList<QImage> whole; // of any number of letters with an ellipsis
        for (int letters = 1; letters < text.size(); ++letters)
            whole.append(inkOf<ChoiceBox>(text.left(letters) + u'\u2026', 600));
        // In a row of widths every remainder of room comes up.
        for (int width = 120; width < 140; ++width)
            QVERIFY2(whole.contains(inkOf<ChoiceBox>(text, width)), QByteArray::number(width));
    }

    void aTextThatJustFitsIsNotElided()
    {
        const QString text(20, u'i');
        const QImage whole = inkOf<QComboBox>(text, 600);
        int width = 40; // the least at which any other box shows all of it
        while (inkOf<QComboBox>(text, width) != whole)
            ++width;
        // A letter more, for the style's margins.
        const int letter = QComboBox().fontMetrics().averageCharWidth();
        QCOMPARE(inkOf<ChoiceBox>(text, width + letter), whole);
    }

    void aTextThatFitsIsShownWhole()
    {
        QVERIFY(pictureOf(u"short"_s) != pictureOf(u"shor"_s));
        QVERIFY(pictureOf(u"short"_s) != pictureOf(u"shor\u2026"_s));
    }

    void aTextThatFitsLooksAsInAnyOtherBox()
    {
        QCOMPARE(pictureOf(u"short"_s), pictureOf<QComboBox>(u"short"_s));
        QCOMPARE(pictureOf<ChoiceBox>(u"short"_s, true), pictureOf<QComboBox>(u"short"_s, true));
    }

    void theTextHasTheColourOfAnyOtherBoxs_data()
    {
        QTest::addColumn<bool>("isEnabled");
        QTest::newRow("enabled") << true;
        QTest::newRow("disabled") << false;
    }
    void theTextHasTheColourOfAnyOtherBoxs()
    {
        QFETCH(const bool, isEnabled);
        PlainStyle style;
        QPalette palette;
        palette.setColor(QPalette::Text, Qt::red);
        palette.setColor(QPalette::Disabled, QPalette::Text, Qt::yellow);
        ChoiceBox box;
        QComboBox other;
        const auto pictureOf = [&](QComboBox &shown) {
            shown.setStyle(&style);
            shown.setPalette(palette);
            shown.setEnabled(isEnabled);
            shown.resize(160, 30);
            return shown.grab().toImage();
        };
        QCOMPARE(pictureOf(box), pictureOf(other));
    }

    void aScrolledListShowsItsItemsWhole()
    {
        ChoiceBox box;
        box.setEditable(true); // the list of another one has arrows in the place of a scroll bar
        for (int item = 0; item < 20; ++item)
            box.addItem(QString(40, u'm'));
        box.resize(160, box.sizeHint().height());
        box.show();
        box.showPopup();
        QVERIFY(box.view()->verticalScrollBar()->isVisible());
        QVERIFY(box.view()->viewport()->width() >= box.view()->sizeHintForColumn(0));
        box.hidePopup();
    }

    void popupIsAsWideAsItsWidestItem()
    {
        ChoiceBox box;
        box.addItems({u"short"_s, QString(60, u'm')});
        box.resize(160, box.sizeHint().height());
        box.show();
        box.showPopup();
        QVERIFY(box.view()->width() >= box.fontMetrics().horizontalAdvance(QString(60, u'm')));
        box.hidePopup();
    }

    void longTextsDoNotWidenTheBox()
    {
        QCOMPARE(ChoiceBox().minimumContentsLength(), 12);
        ChoiceBox shortBox;
        shortBox.addItem(u"short"_s);
        ChoiceBox longBox;
        longBox.addItem(QString(200, u'm'));
        QCOMPARE(longBox.sizeHint(), shortBox.sizeHint());
        QCOMPARE(longBox.minimumSizeHint(), shortBox.minimumSizeHint());
    }
};

QTEST_MAIN(TestChoiceBox)
#include "test_choicebox.moc"
