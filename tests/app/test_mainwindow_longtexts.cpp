// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QAbstractItemView>
#include <QAccessible>
#include <QImage>
#include <QPixmap>
#include <QScopeGuard>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const QString longWords = u"The Very Long Name of a Game "_s.repeated(5).left(120);
const QString unbroken = QString(120, u'W');
const QString chinese = u"\u4e2d\u6587\u540d\u79f0"_s.repeated(30);
const QString arabic = u"\u0644\u0639\u0628\u0629 "_s.repeated(24);

void addNameRows()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("words") << longWords;
    QTest::newRow("unbroken") << unbroken;
    QTest::newRow("Chinese") << chinese;
    QTest::newRow("Arabic") << arabic.trimmed();
}

QSize minimumSizeWithShortTexts()
{
    const PlayersMachine machine;
    machine.installGames({{u"100"_s, u"Alpha"_s, u"-x"_s}});
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

/// The right end of what is drawn in the widget's first rows, all of one colour otherwise.
qreal lastInkedColumn(QWidget *widget, int rows)
{
    const QPixmap picture = widget->grab(QRect(0, 0, widget->width(), rows));
    const QImage image = picture.toImage();
    const auto isInked = [&image](int column) {
        for (int y = 0; y < image.height(); ++y) {
            if (image.pixel(column, y) != image.pixel(image.width() - 1, 0))
                return true;
        }
        return false;
    };
    int column = image.width() - 1;
    while (column >= 0 && !isInked(column))
        --column;
    return column / picture.devicePixelRatio();
}

} // namespace

class TestMainWindowLongTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyPreviewCannotBeTold()
    {
        const PlayersMachine machine;
        const WindowUser user;
        const QWidget *area = user.previewLabel->parentWidget()->parentWidget();
        const QRect around = QRect(area->mapTo(user.settingsGroup, QPoint()), area->size())
                                 .marginsAdded(QMargins(3, 3, 3, 3));
        const QImage picture = user.settingsGroup->grab(around).toImage();
        QImage plain(picture.size(), picture.format());
        plain.setDevicePixelRatio(picture.devicePixelRatio());
        plain.fill(picture.pixelColor(0, 0));
        QCOMPARE(picture, plain); // no frame, no ground of its own
    }

    void theStatusLineNeitherWidensTheWindowNorMovesAnything_data()
    {
        QTest::addColumn<int>("points");
        for (const int points : {9, 18, 24})
            QTest::addRow("%d points", points) << points;
    }
    void theStatusLineNeitherWidensTheWindowNorMovesAnything()
    {
        QFETCH(const int, points);
        const QFont usual = QApplication::font();
        const auto back = qScopeGuard([&usual] { QApplication::setFont(usual); });
        QFont font = usual;
        font.setPointSize(points);
        QApplication::setFont(font);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        const auto places = [&user] {
            QList<QRect> list;
            for (QWidget *widget : QList<QWidget *>{&user.window, user.applyButton, user.gameList,
                                                    user.settingsGroup, user.statusLabel})
                list.append(QRect(widget->mapTo(&user.window, QPoint()), widget->size()));
            return list;
        };
        const QList<QRect> before = places();
        user.toggle(u"Alpha"_s);
        QCoreApplication::processEvents();
        QCOMPARE(places(), before);
        QVERIFY(user.window.rect().contains(before[1]));
        QVERIFY(user.statusLabel->height() >=
                user.statusLabel->heightForWidth(user.statusLabel->width()));
        const int whole = user.statusLabel->fontMetrics().horizontalAdvance(u"pending changes."_s);
        QVERIFY(user.statusLabel->minimumSizeHint().width() < whole);
    }

    void longGameNamesLeaveTheWindowAsItIs_data() { addNameRows(); }
    void longGameNamesLeaveTheWindowAsItIs()
    {
        QFETCH(const QString, name);
        QCOMPARE(name.size(), name == arabic.trimmed() ? 119 : 120);
        const QSize minimum = minimumSizeWithShortTexts();
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, name}});
        WindowUser user;
        user.toggle(name);
        compareWithShortTexts(user, minimum);
        QCOMPARE(user.settingsGroup->title(), "Game settings: "_L1 + name);
    }

    void theGroupsTitleIsShownAsFarAsItFits_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("short") << u"Alpha"_s;
        QTest::newRow("long") << unbroken;
    }
    void theGroupsTitleIsShownAsFarAsItFits()
    {
        QFETCH(const QString, name);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, name, defaultOptions}});
        const WindowUser user;
        const QFontMetrics font = user.settingsGroup->fontMetrics();
        const qreal shown = lastInkedColumn(user.settingsGroup, font.height());
        const int whole = font.horizontalAdvance(user.settingsGroup->title());
        const int room = user.settingsGroup->width() - font.averageCharWidth();
        // A title that is cut off, not elided, reaches the last column.
        QVERIFY2(shown >= qMin(whole, room * 3 / 4) - 2 * font.maxWidth() && shown <= room,
                 QByteArray::number(shown));
    }

    void aTitleThatFitsLooksAsInAnyOtherGroup()
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

    void longGpuNamesAreWholeAndLeaveTheWindowAsItIs_data() { addNameRows(); }
    void longGpuNamesAreWholeAndLeaveTheWindowAsItIs()
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
        const qreal end = lastInkedColumn(user.gpuLabel, user.gpuLabel->height());
        QVERIFY2(end > 0 && end < user.gpuLabel->width() - 2, QByteArray::number(end));
    }

    void aLongItemIsShownWholeInThePopup()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        const int wanted = user.holdbackCombo->fontMetrics().horizontalAdvance(
            u"2 frames (smoother when fps dips below ~30, +1 frame latency)"_s);
        QVERIFY(user.holdbackCombo->width() < wanted); // else nothing is shown here
        user.holdbackCombo->showPopup();
        QTRY_VERIFY(user.holdbackCombo->view()->isVisible());
        QVERIFY(user.holdbackCombo->view()->viewport()->width() >= wanted);
        user.holdbackCombo->hidePopup();
    }

    void longLaunchOptionsLeaveTheWindowAsItIs_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("words") << u"--an-option value "_s.repeated(112).left(2000);
        QTest::newRow("unbroken") << QString(2000, u'x');
        QTest::newRow("unbroken Chinese") << u"\u4e2d"_s.repeated(2000);
    }
    void longLaunchOptionsLeaveTheWindowAsItIs()
    {
        QFETCH(const QString, options);
        QCOMPARE(options.size(), 2000);
        const QSize minimum = minimumSizeWithShortTexts();
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, options}});
        const WindowUser user;
        compareWithShortTexts(user, minimum);
        QCOMPARE(user.previewLabel->text(), options);
        // Nothing is covered, and no room is given away: the preview ends just above the button.
        const QWidget *area = user.previewLabel->parentWidget();
        const int gap = user.advancedButton->mapTo(&user.window, QPoint()).y() -
                        area->mapTo(&user.window, QPoint(0, area->height())).y();
        QVERIFY2(gap >= 0 && gap <= user.advancedButton->height(), QByteArray::number(gap));
    }

    void launchOptionsThatLookLikeMarkupAreShownAsTheyAre_data()
    {
        QTest::addColumn<QString>("options");
        QTest::newRow("bold") << u"<b>x</b> %command%"_s;
        QTest::newRow("entity") << u"a &amp; b &lt; c"_s;
        QTest::newRow("break") << u"<html>one<br>two</html>"_s;
    }
    void launchOptionsThatLookLikeMarkupAreShownAsTheyAre()
    {
        QFETCH(const QString, options);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, options}});
        const WindowUser user;
        QCOMPARE(user.previewLabel->text(), options);
        QCOMPARE(user.previewLabel->textFormat(), Qt::PlainText);
        QAccessibleInterface *accessible = QAccessible::queryAccessibleInterface(user.previewLabel);
        QCOMPARE(accessible->text(QAccessible::Name), options);
    }

    void ampersandsInNamesAreNoShortcuts_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("title"); // for the widget: && shows one
        QTest::newRow("Tom & Jerry") << u"Tom & Jerry"_s << u"Game settings: Tom && Jerry"_s;
        QTest::newRow("without blanks") << u"R&D"_s << u"Game settings: R&&D"_s;
        QTest::newRow("two") << u"A&&B"_s << u"Game settings: A&&&&B"_s;
    }
    void ampersandsInNamesAreNoShortcuts()
    {
        QFETCH(const QString, name);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, name}});
        const WindowUser user;
        QTEST(user.settingsGroup->title(), "title");
        QCOMPARE(QAccessible::queryAccessibleInterface(user.settingsGroup)->text(QAccessible::Name),
                 "Game settings: "_L1 + name);
        QCOMPARE(user.gameList->item(0)->text(), name);
    }
};

QTEST_MAIN(TestMainWindowLongTexts)
#include "test_mainwindow_longtexts.moc"
