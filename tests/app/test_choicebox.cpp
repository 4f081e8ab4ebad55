// SPDX-License-Identifier: MIT
#include "app/choicebox.h"

#include <QAbstractItemView>
#include <QImage>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

template <typename Box>
QImage pictureOf(const QString &text, bool isEditable = false)
{
    Box box;
    box.setEditable(isEditable);
    box.addItem(text);
    box.resize(160, ChoiceBox().sizeHint().height());
    return box.grab().toImage();
}

QImage pictureOf(const QString &text)
{
    return pictureOf<ChoiceBox>(text);
}

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
