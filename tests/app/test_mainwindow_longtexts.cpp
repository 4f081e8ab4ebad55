// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QAccessible>
#include <QImage>
#include <QScopeGuard>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

void addNameRows()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("words") << u"The Very Long Name of a Game "_s.repeated(5).left(120);
    QTest::newRow("without a blank") << QString(120, u'W');
    QTest::newRow("Chinese") << u"\u4e2d\u6587\u540d\u79f0"_s.repeated(30);
    QTest::newRow("Arabic") << u"\u0644\u0639\u0628\u0629 "_s.repeated(24).trimmed();
}

QSize minimumSizeWithShortTexts()
{
    const PlayersMachine machine({{u"100"_s, u"Alpha"_s, u"-x"_s}});
    const WindowUser user;
    return user.window.minimumSizeHint();
}

/// The window is as with short texts: neither pushed wider or taller nor kept from shrinking.
void compareWithShortTexts(const WindowUser &user, QSize shortMinimum)
{
    QCOMPARE(user.window.size(), QSize(900, 620));
    QVERIFY2(user.window.minimumSizeHint().width() <= shortMinimum.width(),
             QByteArray::number(user.window.minimumSizeHint().width()));
    // A second line of a GPU's name may take its height.
    QVERIFY2(user.window.minimumSizeHint().height() <= 620,
             QByteArray::number(user.window.minimumSizeHint().height()));
    const QList<int> sizes = user.splitter->sizes();
    QVERIFY2(qAbs(sizes[0] * 2 - sizes[1] * 3) <= 5,
             qPrintable(u"%1 : %2"_s.arg(sizes[0]).arg(sizes[1])));
}

QScrollArea *areaOf(const QLabel *preview)
{
    return qobject_cast<QScrollArea *>(preview->parentWidget()->parentWidget());
}

} // namespace

class TestMainWindowLongTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void anEmptyPreviewLeavesNoFrameInTheGroup()
    {
        const PlayersMachine machine;
        const WindowUser user;
        const QWidget *area = areaOf(user.previewLabel);
        const QRect around = QRect(area->mapTo(user.settingsGroup, QPoint()), area->size())
                                 .marginsAdded(QMargins(3, 3, 3, 3));
        const QImage picture = user.settingsGroup->grab(around).toImage();
        QImage plain(picture.size(), picture.format());
        plain.setDevicePixelRatio(picture.devicePixelRatio());
        plain.fill(picture.pixelColor(0, 0));
        QCOMPARE(picture, plain); // no frame, no ground of its own
    }

    void aLongGameNameDoesNotWidenTheWindow_data() { addNameRows(); }
    void aLongGameNameDoesNotWidenTheWindow()
    {
        QFETCH(const QString, name);
        const QSize minimum = minimumSizeWithShortTexts();
        const PlayersMachine machine({{u"100"_s, name}});
        WindowUser user;
        user.toggle(name);
        compareWithShortTexts(user, minimum);
        QCOMPARE(user.settingsGroup->title(), "Game settings: "_L1 + name);
    }

    void aGroupTitleThatFitsIsNotCut()
    {
        const PlayersMachine machine;
        WindowUser user;
        QGroupBox other(&user.window);
        other.resize(user.settingsGroup->size());
        // As long as there is room for a letter at either side, in bold, too.
        QFont bold = other.font();
        bold.setBold(true);
        const QFontMetrics font(bold);
        const int room = other.width() - 2 * font.averageCharWidth();
        const QRect line(0, 0, other.width(), font.height());
        int fitting = 0;
        for (QString title = u"i"_s; font.horizontalAdvance(title) <= room; title += u'i') {
            user.settingsGroup->setTitle(title);
            other.setTitle(title);
            other.setEnabled(user.settingsGroup->isEnabled());
            QCOMPARE(user.settingsGroup->grab(line).toImage(), other.grab(line).toImage());
            ++fitting;
        }
        QVERIFY(fitting > 20);
    }

    void aLongGpuNameIsShownWholeAndDoesNotWidenTheWindow_data() { addNameRows(); }
    void aLongGpuNameIsShownWholeAndDoesNotWidenTheWindow()
    {
        QFETCH(const QString, name);
        const QSize minimum = minimumSizeWithShortTexts();
        const PlayersMachine machine;
        // The database is read as Latin-1, so other scripts arrive as more and other letters.
        machine.writePciIds("1002  AMD\n\t73bf  " + name.toUtf8() + "\n");
        machine.addSecondGpu();
        const WindowUser user;
        compareWithShortTexts(user, minimum);
        QVERIFY(user.renderGpuCombo->width() <= 900);
        // What is cut off would reach the last column.
        const QImage picture = user.gpuLabel->grab().toImage();
        QPalette unseen;
        unseen.setColor(QPalette::WindowText, Qt::transparent);
        user.gpuLabel->setPalette(unseen);
        const QRect text = differenceOf(picture, user.gpuLabel->grab().toImage());
        QVERIFY2(!text.isEmpty() && text.right() < picture.width() - 2 * picture.devicePixelRatio(),
                 QByteArray::number(text.right()));
    }

    void longLaunchOptionsDoNotWidenTheWindow_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("words") << u"--an-option value "_s.repeated(112).left(2000);
        QTest::newRow("without a blank") << QString(2000, u'x');
        QTest::newRow("Chinese") << u"\u4e2d"_s.repeated(2000);
    }
    void longLaunchOptionsDoNotWidenTheWindow()
    {
        QFETCH(const QString, options);
        const QSize minimum = minimumSizeWithShortTexts();
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, options}});
        const WindowUser user;
        compareWithShortTexts(user, minimum);
        QCOMPARE(user.previewLabel->text(), options);
        // Nothing is covered, and no room is given away: the preview ends just above the button.
        const QWidget *area = user.previewLabel->parentWidget();
        const int gap = user.advancedButton->mapTo(&user.window, QPoint()).y() -
                        area->mapTo(&user.window, QPoint(0, area->height())).y();
        QVERIFY2(gap >= 0 && gap <= user.advancedButton->height(), QByteArray::number(gap));
    }

    void launchOptionsThatLookLikeMarkupAreShownAsText()
    {
        const auto options = u"<html><b>a</b> &amp; b<br>c</html> %command%"_s;
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, options}});
        const WindowUser user;
        QCOMPARE(user.previewLabel->text(), options);
        QCOMPARE(user.previewLabel->textFormat(), Qt::PlainText);
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(user.previewLabel);
        QCOMPARE(accessible->text(QAccessible::Name), options);
    }

    void ampersandsInAGameNameAreShown()
    {
        const auto name = u"Tom & A&&B R&D"_s;
        const PlayersMachine machine({{u"100"_s, name}});
        const WindowUser user;
        // A widget shows two as one.
        QCOMPARE(user.settingsGroup->title(), u"Game settings: Tom && A&&&&B R&&D"_s);
        QCOMPARE(QAccessible::queryAccessibleInterface(user.settingsGroup)->text(QAccessible::Name),
                 "Game settings: "_L1 + name);
        QCOMPARE(user.gameList->item(0)->text(), name);
    }

    void thePreviewBreaksLinesBetweenWords()
    {
        const PlayersMachine machine;
        const WindowUser user;
        QLabel *preview = user.previewLabel;
        const auto pictureOf = [preview](const QString &text) {
            preview->setText(text);
            return preview->grab().toImage();
        };
        const auto word = u"gamescope "_s;
        QString line = word;
        while (preview->fontMetrics().horizontalAdvance(line + word) < preview->width())
            line += word;
        QVERIFY(line != word);
        QCOMPARE(pictureOf(line + word + word), pictureOf(line + u'\n' + word + word));
        QVERIFY(pictureOf(line + word) != pictureOf(line));
    }

    void thePreviewBreaksATextWithoutBlanksAnywhere_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("narrow") << QString(900, u'i');
        QTest::newRow("wide") << QString(900, u'W');
        QTest::newRow("Chinese") << QString(900, u'\u4e2d');
    }
    void thePreviewBreaksATextWithoutBlanksAnywhere()
    {
        QFETCH(const QString, text);
        const PlayersMachine machine;
        const WindowUser user;
        QLabel *preview = user.previewLabel;
        preview->setText(text);
        const int width = preview->width();
        const qreal letter = QFontMetricsF(preview->font()).horizontalAdvance(text) / 900;
        // As many lines as hold all letters, each filled but for less than a letter.
        const int lines =
            qRound(qreal(preview->heightForWidth(width)) / preview->fontMetrics().lineSpacing());
        const int inLine = qFloor(width / letter);
        QCOMPARE(lines, (900 + inLine - 1) / inLine);
    }

    void optionsOf900LettersAreShownWholeAndAsLegibleWithoutATick_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("points"); // of the desktop's font
        const QString words = u"--option=of-a-game "_s.repeated(50).left(900);
        QTest::newRow("without a blank") << QString(900, u'e') << 9;
        QTest::newRow("with blanks") << words << 9;
        QTest::newRow("without a blank, a larger font") << QString(900, u'e') << 10;
        QTest::newRow("with blanks, a larger font") << words << 10;
    }
    void optionsOf900LettersAreShownWholeAndAsLegibleWithoutATick()
    {
        QFETCH(const QString, text);
        QFETCH(const int, points);
        const QFont usual = QApplication::font();
        const auto back = qScopeGuard([&usual] { QApplication::setFont(usual); });
        QFont font = usual;
        font.setPointSize(points);
        QApplication::setFont(font);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, text}});
        const WindowUser user;
        QCOMPARE(user.window.size(), QSize(900, 620));
        QLabel *preview = user.previewLabel;
        QCOMPARE(preview->text(), text);
        QVERIFY(!preview->isEnabled());
        QVERIFY(preview->height() >= preview->heightForWidth(preview->width()));
        QCOMPARE(preview->visibleRegion().boundingRect(), preview->rect());
        QVERIFY(!areaOf(preview)->verticalScrollBar()->isVisible());
        // In the same gray as when it is enabled.
        const QImage disabled = preview->grab().toImage();
        user.settingsGroup->setEnabled(true);
        QCOMPARE(disabled, preview->grab().toImage());
    }

    void theWheelScrollsLongerOptionsToTheirEnd_data()
    {
        QTest::addColumn<bool>("isEnabled");
        QTest::newRow("ticked") << true;
        QTest::newRow("not ticked") << false;
    }
    void theWheelScrollsLongerOptionsToTheirEnd()
    {
        QFETCH(const bool, isEnabled);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, QString(3000, u'x')}});
        WindowUser user;
        user.settingsGroup->setEnabled(isEnabled);
        const QScrollBar *bar = areaOf(user.previewLabel)->verticalScrollBar();
        QVERIFY(bar->isVisible());
        QVERIFY(!areaOf(user.previewLabel)->horizontalScrollBar()->isVisible());
        // It has the height of all its lines, and the bar leads over what is not in view.
        const QLabel *preview = user.previewLabel;
        QVERIFY(preview->height() >= preview->heightForWidth(preview->width()));
        QCOMPARE(bar->maximum(), preview->height() - areaOf(preview)->viewport()->height());
        turnWheelOver(areaOf(user.previewLabel));
        QCOMPARE(bar->value(), 60); // as far as in any other area
        for (int notch = 0; notch < 50; ++notch)
            turnWheelOver(areaOf(user.previewLabel));
        QCOMPARE(bar->value(), bar->maximum());
        QCOMPARE(preview->visibleRegion().boundingRect().bottom(), preview->rect().bottom());
    }

    void thePreviewFitsTheWindowAndScrollsOnlyLongOptions()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, QString(3000, u'x')},
                                      {u"200"_s, u"Beta"_s, QString(900, u'e')}});
        WindowUser user;
        QLabel *preview = user.previewLabel;
        const int narrow = preview->width();
        for (const int width : {1400, 900}) {
            user.window.resize(width, 620);
            QTRY_COMPARE(user.window.width(), width);
            QTRY_COMPARE(preview->width(), areaOf(preview)->viewport()->width());
            QVERIFY(preview->height() >= preview->heightForWidth(preview->width()));
            QCOMPARE(preview->width() > narrow, width > 900);
        }
        // The bar goes with the long options.
        const QScrollBar *bar = areaOf(preview)->verticalScrollBar();
        QVERIFY(bar->isVisible());
        user.select(u"Beta"_s);
        QTRY_VERIFY(!bar->isVisible());
    }
};

QTEST_MAIN(TestMainWindowLongTexts)
#include "test_mainwindow_longtexts.moc"
