// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QImage>
#include <QScopeGuard>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

QScrollArea *areaOf(const QLabel *preview)
{
    return qobject_cast<QScrollArea *>(preview->parentWidget()->parentWidget());
}

} // namespace

class TestMainWindowPreview : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wordsThatFitIntoALineAreWhole()
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
};

QTEST_MAIN(TestMainWindowPreview)
#include "test_mainwindow_preview.moc"
