// SPDX-License-Identifier: MIT
#include "app/previewlabel.h"

#include "windowuser.h"

#include <QBoxLayout>
#include <QClipboard>
#include <QContextMenuEvent>
#include <QImage>
#include <QMenu>
#include <QScopeGuard>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>

using namespace Qt::StringLiterals;

namespace
{

int textWidth(const QString &text)
{
    return PreviewLabel().fontMetrics().horizontalAdvance(text);
}

QImage pictureOf(const QString &text, int width)
{
    PreviewLabel label;
    label.setText(text);
    label.resize(width, label.heightForWidth(width));
    return label.grab().toImage();
}

QScrollArea *areaOf(const QLabel *preview)
{
    return qobject_cast<QScrollArea *>(preview->parentWidget()->parentWidget());
}

void drag(QWidget *widget, QPoint from, QPoint to)
{
    QTest::mousePress(widget, Qt::LeftButton, {}, from);
    QTest::mouseMove(widget, to);
    // Offscreen, the pointer moves without the button.
    QMouseEvent move(QEvent::MouseMove, to, widget->mapToGlobal(QPointF(to)), Qt::NoButton,
                     Qt::LeftButton, {});
    QApplication::sendEvent(widget, &move);
    QTest::mouseRelease(widget, Qt::LeftButton, {}, to);
}

/// Opens the preview's menu and chooses in it; nothing by an empty text. What could be chosen.
QStringList chooseInMenu(QWidget *preview, const QString &text)
{
    QStringList enabled;
    const QObject here;
    QTimer::singleShot(0, &here, [&] {
        auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
        for (QAction *action : menu->actions()) {
            if (action->isEnabled())
                enabled.append(action->text());
            if (action->text() == text)
                menu->setActiveAction(action);
        }
        QTest::keyClick(menu, text.isEmpty() ? Qt::Key_Escape : Qt::Key_Return);
    });
    QContextMenuEvent event(QContextMenuEvent::Mouse, {5, 5}, preview->mapToGlobal(QPoint(5, 5)));
    QApplication::sendEvent(preview, &event);
    return enabled;
}

/// Where a widget was painted.
class PaintWatch : public QObject
{
public:
    explicit PaintWatch(QWidget *widget)
    {
        widget->installEventFilter(this);
        widget->update();
    }
    QRegion painted;

    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent *>(event)->region();
        return false;
    }
};

} // namespace

class TestPreviewLabel : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void linesAreBrokenAtBlanks_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("lines"); // as they are shown
        QTest::newRow("one that fits") << u"-w 1280"_s << u"-w 1280"_s;
        // Not behind a hyphen, a slash or an equals sign.
        QTest::newRow("hyphens") << u"--backend sdl --prefer-vk-device"_s
                                 << u"--backend sdl \n--prefer-vk-device"_s;
        QTest::newRow("slashes") << u"LD_PATH=/opt/a /usr/lib/gamescope"_s
                                 << u"LD_PATH=/opt/a \n/usr/lib/gamescope"_s;
        QTest::newRow("a run longer than a line")
            << u"-w "_s + QString(30, u'm') << u"-w \n"_s + QString(30, u'm');
        QTest::newRow("a line break of its own") << u"-w\n-h"_s << u"-w\n-h"_s;
        const QString chinese = u"\u4e2d\u6587\u540d\u79f0"_s.repeated(4);
        QTest::newRow("Chinese") << chinese + u" "_s + chinese << chinese + u" \n"_s + chinese;
        // A letter and its mark are one column of two characters.
        const QString marked = u"e\u0301"_s.repeated(14);
        QTest::newRow("combining marks") << marked + u" "_s + marked << marked + u" \n"_s + marked;
    }
    void linesAreBrokenAtBlanks()
    {
        QFETCH(const QString, text);
        QFETCH(const QString, lines);
        const int width = textWidth(u"--backend sdl --prefer-vk"_s);
        QCOMPARE(pictureOf(text, width), pictureOf(lines, width));
    }

    void aRunWithoutBlanksIsBrokenAnywhereAndShownWhole_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("narrow") << QString(900, u'i');
        QTest::newRow("wide") << QString(900, u'W');
        QTest::newRow("Chinese") << QString(900, u'\u4e2d');
    }
    void aRunWithoutBlanksIsBrokenAnywhereAndShownWhole()
    {
        QFETCH(const QString, text);
        const int width = 300;
        const QImage picture = pictureOf(text, width);
        const qreal scale = picture.devicePixelRatio();
        const PreviewLabel label;
        const qreal letter = QFontMetricsF(label.font()).horizontalAdvance(text) / 900;
        // As many lines as hold all letters, each filled but for less than a letter.
        const int lines = qRound(picture.height() / scale / label.fontMetrics().lineSpacing());
        const int inLine = qFloor(width / letter);
        QCOMPARE(lines, (900 + inLine - 1) / inLine);
    }

    void whatIsCopiedIsThePartOfTheOptions_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("broken anywhere") << QString(900, u'x');
        QTest::newRow("broken at blanks") << u"--option "_s.repeated(100);
        QTest::newRow("blanks that do not break") << u"a\u00a0b\tc "_s.repeated(200);
    }
    void whatIsCopiedIsThePartOfTheOptions()
    {
        QFETCH(const QString, text);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, text}});
        WindowUser user;
        user.settingsGroup->setEnabled(true);
        QLabel *preview = user.previewLabel;
        QClipboard *clipboard = QGuiApplication::clipboard();
        clipboard->setText(u"before"_s);

        // From within the second line to within the fifth.
        const int line = preview->fontMetrics().lineSpacing();
        drag(preview, {50, line + line / 2}, {120, 4 * line + line / 2});
        QTest::keyClick(preview, Qt::Key_C, Qt::ControlModifier);
        const QString part = clipboard->text();
        QVERIFY(part.size() > 20);
        QVERIFY(part.size() < text.size());
        QVERIFY(text.contains(part));

        QTest::keyClick(preview, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(preview, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(clipboard->text(), text);
        QCOMPARE(preview->text(), text);
    }

    void aSelectionIsShownInItsColoursAndGoesWithTheFocus()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        QLabel *preview = user.previewLabel;
        QPalette palette = preview->palette();
        palette.setColor(QPalette::Highlight, Qt::blue);
        palette.setColor(QPalette::HighlightedText, Qt::yellow);
        preview->setPalette(palette);
        const auto hasPixel = [preview](const std::function<bool(QColor)> &isSo) {
            const QImage picture = preview->grab().toImage();
            for (int i = 0; i < picture.width() * picture.height(); ++i) {
                if (isSo(picture.pixelColor(i % picture.width(), i / picture.width())))
                    return true;
            }
            return false;
        };
        const auto isBlue = [](QColor pixel) { return pixel == QColor(Qt::blue); };
        const auto isYellow = [](QColor pixel) { return pixel.red() > 2 * pixel.blue() + 100; };
        const QImage before = preview->grab().toImage();
        QVERIFY(!hasPixel(isBlue) && !hasPixel(isYellow));
        drag(preview, {2, 5}, {100, 5});
        QVERIFY(preview->hasSelectedText());
        QVERIFY(hasPixel(isBlue) && hasPixel(isYellow));
        user.gameList->setFocus();
        QVERIFY(!preview->hasSelectedText());
        QCOMPARE(preview->grab().toImage(), before);
    }

    void aLineIsPaintedAsSoonAsItIsSelectedAndWhenItIsNotAnyMore()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, QString(900, u'x')}});
        WindowUser user;
        user.settingsGroup->setEnabled(true);
        QLabel *preview = user.previewLabel;
        const int height = preview->fontMetrics().lineSpacing();
        const QRect thirdLine(0, 2 * height, preview->width(), height);
        PaintWatch watch(preview);
        QTRY_VERIFY(watch.painted.contains(preview->rect().center()));
        watch.painted = {};
        drag(preview, {20, thirdLine.center().y()}, {100, thirdLine.center().y()});
        QVERIFY(preview->hasSelectedText());
        QTRY_VERIFY((QRegion(thirdLine) - watch.painted).isEmpty());
        watch.painted = {};
        user.gameList->setFocus();
        QVERIFY(!preview->hasSelectedText());
        QTRY_VERIFY((QRegion(thirdLine) - watch.painted).isEmpty());
    }

    void aDragSelectsWhatItPassesAndAnotherButtonNothing()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, u"alpha beta gamma"_s}});
        WindowUser user;
        user.settingsGroup->setEnabled(true);
        QLabel *preview = user.previewLabel;
        const QFontMetrics metrics = preview->fontMetrics();
        const QPoint begin(metrics.horizontalAdvance(u"alpha "_s), 5);
        const QPoint end(metrics.horizontalAdvance(u"alpha beta"_s), 5);
        drag(preview, begin, end);
        QCOMPARE(preview->selectedText(), u"beta"_s);
        QTest::mouseClick(preview, Qt::RightButton, {}, QPoint(2, 5));
        QCOMPARE(preview->selectedText(), u"beta"_s);
        QTest::mouseClick(preview, Qt::LeftButton, {}, QPoint(2, 5));
        QVERIFY(!preview->hasSelectedText());
        drag(preview, {2, 5}, {3, 5});
        QVERIFY(!preview->hasSelectedText());
        drag(preview, end, begin);
        QCOMPARE(preview->selectedText(), u"beta"_s);
        drag(preview, begin, {2, preview->height() + 5});
        QCOMPARE(preview->selectedText(), u"beta gamma"_s);
    }

    void itsMenuSelectsAllAndCopies()
    {
        const QString copy = u"&Copy"_s;
        const QString selectAll = u"Select All"_s;
        PreviewLabel preview;
        preview.setText(u"alpha beta"_s);
        preview.show();
        QApplication::clipboard()->setText(u"before"_s);
        QCOMPARE(chooseInMenu(&preview, {}), QStringList{selectAll});
        QVERIFY(!preview.hasSelectedText());
        QCOMPARE(chooseInMenu(&preview, selectAll), QStringList{selectAll});
        QCOMPARE(preview.selectedText(), u"alpha beta"_s);
        QCOMPARE(chooseInMenu(&preview, copy), (QStringList{copy, selectAll}));
        QCOMPARE(QApplication::clipboard()->text(), u"alpha beta"_s);
        PreviewLabel empty;
        empty.show();
        QCOMPARE(chooseInMenu(&empty, {}), QStringList());
    }

    void aDoubleClickSelectsOneOption_data()
    {
        QTest::addColumn<QString>("before"); // the place of the click
        QTest::addColumn<QString>("option");
        QTest::newRow("first") << u"al"_s << u"alpha"_s;
        QTest::newRow("in the middle") << u"alpha be"_s << u"beta"_s;
        QTest::newRow("last") << u"alpha beta ga"_s << u"gamma"_s;
    }
    void aDoubleClickSelectsOneOption()
    {
        QFETCH(const QString, before);
        QFETCH(const QString, option);
        PreviewLabel preview;
        preview.setText(u"alpha beta gamma"_s);
        preview.resize(2 * textWidth(preview.text()), 20);
        preview.show();
        QTest::mouseDClick(&preview, Qt::LeftButton, {}, QPoint(textWidth(before), 5));
        QCOMPARE(preview.selectedText(), option);
    }

    void anUntickedGamesOptionsOf900LettersAreWholeAndLegible_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("points"); // of the desktop's font
        const QString words = u"--option=of-a-game "_s.repeated(50).left(900);
        QTest::newRow("without a blank") << QString(900, u'e') << 9;
        QTest::newRow("with blanks") << words << 9;
        QTest::newRow("without a blank, a larger font") << QString(900, u'e') << 10;
        QTest::newRow("with blanks, a larger font") << words << 10;
    }
    void anUntickedGamesOptionsOf900LettersAreWholeAndLegible()
    {
        QFETCH(const QString, text);
        QFETCH(const int, points);
        const QFont usual = QApplication::font();
        const auto back = qScopeGuard([&usual] { QApplication::setFont(usual); });
        QFont font = usual;
        font.setPointSize(points);
        QApplication::setFont(font);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, text}});
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

    void longerOptionsAreScrolledByTheWheelWhetherOrNotTheGameIsTicked_data()
    {
        QTest::addColumn<bool>("isEnabled");
        QTest::newRow("ticked") << true;
        QTest::newRow("not ticked") << false;
    }
    void longerOptionsAreScrolledByTheWheelWhetherOrNotTheGameIsTicked()
    {
        QFETCH(const bool, isEnabled);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, QString(3000, u'x')}});
        WindowUser user;
        user.settingsGroup->setEnabled(isEnabled);
        const QScrollBar *bar = areaOf(user.previewLabel)->verticalScrollBar();
        QVERIFY(bar->isVisible());
        QVERIFY(!areaOf(user.previewLabel)->horizontalScrollBar()->isVisible());
        // It has the height of all its lines, and the bar leads over what is not in view.
        const QLabel *preview = user.previewLabel;
        QVERIFY(preview->height() >= preview->heightForWidth(preview->width()));
        QCOMPARE(bar->maximum(), preview->height() - areaOf(preview)->viewport()->height());
        for (int notch = 0; notch < 50; ++notch)
            turnWheelOver(areaOf(user.previewLabel));
        QCOMPARE(bar->value(), bar->maximum());
        QCOMPARE(preview->visibleRegion().boundingRect().bottom(), preview->rect().bottom());
    }

    void longerOptionsAreScrolledByKeysAfterAClick()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, QString(3000, u'x')}});
        WindowUser user;
        user.settingsGroup->setEnabled(true);
        const QScrollBar *bar = areaOf(user.previewLabel)->verticalScrollBar();
        QTest::mouseClick(user.previewLabel, Qt::LeftButton, {}, QPoint(5, 5));
        for (int i = 0; i < 100; ++i)
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Down);
        QCOMPARE(bar->value(), bar->maximum());
    }

    void itIsAsWideAsTheWindowLeavesRoom()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, QString(3000, u'x')}});
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
    }

    void theScrollBarGoesWithTheLongText()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, QString(3000, u'x')},
                              {u"200"_s, u"Beta"_s, QString(900, u'e')}});
        WindowUser user;
        const QScrollBar *bar = areaOf(user.previewLabel)->verticalScrollBar();
        QVERIFY(bar->isVisible());
        user.select(u"Beta"_s);
        QTRY_VERIFY(!bar->isVisible());
    }

    void itsRowHasNoStretchAndAStretchFollows()
    {
        const PlayersMachine machine;
        const WindowUser user;
        auto *layout = qobject_cast<QVBoxLayout *>(user.settingsGroup->layout());
        int row = 0;
        while (!layout->itemAt(row)->widget() ||
               !layout->itemAt(row)->widget()->isAncestorOf(user.previewLabel))
            ++row;
        QCOMPARE(layout->stretch(row), 0);
        QVERIFY(layout->itemAt(row + 1)->spacerItem());
        QCOMPARE(layout->count(), row + 3); // and the row of the button
    }
};

QTEST_MAIN(TestPreviewLabel)
#include "test_previewlabel.moc"
