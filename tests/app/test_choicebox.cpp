// SPDX-License-Identifier: MIT
#include "app/choicebox.h"

#include "windowuser.h"

#include <QAbstractItemView>
#include <QImage>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

template <typename Box>
QImage pictureOf(const QString &text, int width, bool isEditable = false)
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
    const QImage picture = pictureOf<Box>(text, width);
    return picture.copy(differenceOf(picture, pictureOf<Box>(QString(), width)));
}

} // namespace

class TestChoiceBox : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aTextThatDoesNotFitEndsInAWholeEllipsis()
    {
        const QString text(60, u'i');
        QList<QImage> whole; // of some letters with an ellipsis
        for (int letters = 20; letters < text.size(); ++letters)
            whole.append(inkOf<ChoiceBox>(text.left(letters) + u'\u2026', 600));
        // In a row of widths every remainder of room comes up.
        for (int width = 120; width < 140; ++width)
            QVERIFY2(whole.contains(inkOf<ChoiceBox>(text, width)), QByteArray::number(width));
    }

    void aTextThatJustFitsIsShownWhole()
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

    void aTextThatFitsLooksAsInAnyOtherBox()
    {
        for (const bool isEditable : {false, true})
            QCOMPARE(pictureOf<ChoiceBox>(u"short"_s, 160, isEditable),
                     pictureOf<QComboBox>(u"short"_s, 160, isEditable));
    }

    void theOpenListShowsItsItemsWhole_data()
    {
        QTest::addColumn<int>("items");
        QTest::newRow("without a scroll bar") << 2;
        QTest::newRow("with a scroll bar") << 20;
    }
    void theOpenListShowsItsItemsWhole()
    {
        QFETCH(const int, items);
        ChoiceBox box;
        box.setEditable(true); // the list of another one has arrows in the place of a scroll bar
        for (int item = 0; item < items; ++item)
            box.addItem(QString(40, u'm'));
        box.resize(160, box.sizeHint().height());
        box.show();
        box.showPopup();
        QCOMPARE(box.view()->verticalScrollBar()->isVisible(), items == 20);
        QVERIFY(box.view()->viewport()->width() >= box.view()->sizeHintForColumn(0));
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
