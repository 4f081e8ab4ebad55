// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QAccessible>
#include <QImage>
#include <QPixmap>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const QString own = u"-windowed"_s;
const auto pendingInWords = u"Change not applied yet."_s;
const QString warning =
    u"Has custom launch options; enabling will replace them (restored on disable):\n-windowed"_s;

/// How many pixels of the name, and of the mark behind it, are not of the ground's colour.
int inkOfTheName(const WindowUser &user, int row)
{
    const QImage picture = user.pictureOfRow(row);
    int ink = 0;
    for (int y = 2; y < picture.height() - 2; ++y) {
        for (int x = 2 * picture.height(); x < picture.width() - 2; ++x)
            ink += picture.pixel(x, y) != picture.pixel(picture.width() - 3, 3) ? 1 : 0;
    }
    return ink;
}

QString descriptionOf(const WindowUser &user, int row)
{
    return QAccessible::queryAccessibleInterface(user.gameList)
        ->child(row)
        ->text(QAccessible::Description);
}

QIcon iconOf(const WindowUser &user, int row)
{
    return user.gameList->item(row)->data(Qt::DecorationRole).value<QIcon>();
}

} // namespace

/// What a row shows of its game.
class TestMainWindowRows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPendingGameIsInBoldAndSaysSo()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        machine.addSecondGpu();
        WindowUser user;
        const auto inkWhileBetaIsSelected = [&user] {
            user.select(u"Beta"_s); // a selected row has other colours
            const int ink = inkOfTheName(user, 0);
            user.select(u"Alpha"_s);
            return ink;
        };
        const int plain = inkWhileBetaIsSelected();
        const auto isBold = [&] { return inkWhileBetaIsSelected() > plain * 11 / 10; };
        QCOMPARE(descriptionOf(user, 0), QString());
        user.toggle(u"Alpha"_s);
        QVERIFY(isBold());
        QCOMPARE(descriptionOf(user, 0), pendingInWords);
        user.apply();
        QCOMPARE(inkWhileBetaIsSelected(), plain);
        QCOMPARE(descriptionOf(user, 0), QString());
        user.click(user.framegenCheck);
        QVERIFY(isBold());
        user.click(user.framegenCheck);
        QCOMPARE(inkWhileBetaIsSelected(), plain);
        user.choose(user.renderGpuCombo, 0);
        QVERIFY(isBold());
        QCOMPARE(descriptionOf(user, 0), pendingInWords);
    }

    void aGameWithOptionsOfItsOwnHasAMarkAndShowsThem()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, own},
                                      {u"200"_s, u"Alpha"_s},
                                      {u"300"_s, u"Alpha"_s, defaultOptions},
                                      {u"400"_s, u"Beta"_s}});
        WindowUser user;
        user.selectRow(3); // a selected row has other colours
        const int marked = inkOfTheName(user, 0);
        const int plain = inkOfTheName(user, 1);
        QVERIFY(marked > plain && plain > 0);
        QCOMPARE(inkOfTheName(user, 2), plain);
        QCOMPARE(user.gameList->item(1)->toolTip(), QString());
        QCOMPARE(user.gameList->item(2)->toolTip(), QString());
        const auto hasMark = [&] {
            user.selectRow(3);
            return inkOfTheName(user, 0) == marked &&
                   user.gameList->item(0)->toolTip() == warning &&
                   descriptionOf(user, 0) == warning;
        };
        QVERIFY(hasMark());

        // Ticked, both games are to have the program's options.
        user.toggleRow(0);
        user.toggleRow(1);
        user.selectRow(3);
        QCOMPARE(inkOfTheName(user, 0), inkOfTheName(user, 1));
        QCOMPARE(descriptionOf(user, 0), pendingInWords);
        QCOMPARE(user.gameList->item(0)->toolTip(), QString());
        user.toggleRow(0);
        QVERIFY(hasMark());

        // Options that Apply gives back have the mark once they are in Steam again.
        user.toggleRow(0);
        user.apply();
        user.toggleRow(0);
        QCOMPARE(user.gameList->item(0)->toolTip(), QString());
        user.apply();
        QVERIFY(hasMark());
    }

    void theMarkIsSeenBehindALongName()
    {
        const QString name(200, u'W');
        const PlayersMachine machine({{u"100"_s, name, own}, {u"200"_s, name}, {u"300"_s, u"Z"_s}});
        WindowUser user;
        user.selectRow(2);
        QVERIFY(user.pictureOfRow(0) != user.pictureOfRow(1));
        QCOMPARE(user.gameList->item(0)->text(), name);
    }

    void thePictureOfASelectedRowKeepsItsColours()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        machine.addPicture(u"100"_s, {32, 32});
        const WindowUser user;
        QVERIFY(user.gameList->item(0)->isSelected());
        const QImage row = user.pictureOfRow(0);
        int reds = 0;
        for (int x = 0; x < row.width(); ++x)
            reds += row.pixelColor(x, row.height() / 2) == QColor(Qt::red) ? 1 : 0;
        QVERIFY(reds >= 30 * row.devicePixelRatio());
    }

    void aPictureIsAsSharpAsTheScreen_data()
    {
        QTest::addColumn<QSize>("whole");
        QTest::addColumn<QSize>("points");
        QTest::newRow("of the size") << QSize(32, 32) << QSize(32, 32);
        QTest::newRow("larger") << QSize(256, 256) << QSize(32, 32);
        QTest::newRow("wide") << QSize(3840, 1240) << QSize(32, 10);
        QTest::newRow("high") << QSize(600, 900) << QSize(21, 32);
        QTest::newRow("smaller") << QSize(16, 16) << QSize(32, 32);
    }
    void aPictureIsAsSharpAsTheScreen()
    {
        QFETCH(const QSize, whole);
        QFETCH(const QSize, points);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        machine.addPicture(u"100"_s, whole);
        const WindowUser user;
        const qreal scale = user.window.devicePixelRatioF();
        const QList<QSize> sizes = iconOf(user, 0).availableSizes();
        QCOMPARE(sizes.size(), 1);
        // To the pixel, but for rounding: nothing larger is kept in memory, nothing less is drawn.
        const QSizeF wanted = QSizeF(points) * scale;
        QVERIFY2(qAbs(sizes[0].width() - wanted.width()) <= scale &&
                     qAbs(sizes[0].height() - wanted.height()) <= scale,
                 qPrintable(u"%1x%2"_s.arg(sizes[0].width()).arg(sizes[0].height())));
        const QPixmap shown = iconOf(user, 0).pixmap({32, 32}, scale);
        QCOMPARE(shown.size(), sizes[0]);
        QCOMPARE(shown.devicePixelRatio(), scale);
    }

    void aPictureIsReadWhenItsRowComesIntoView()
    {
        const PlayersMachine machine;
        QList<InstalledGame> games;
        QStringList pictures;
        for (int i = 100; i < 160; ++i) {
            games.append({QString::number(i), u"Game %1"_s.arg(i)});
            pictures.append(machine.addPicture(QString::number(i), {32, 32}));
        }
        machine.installGames(games);
        WindowUser user;
        user.gameList->grab(); // painted
        // A picture that was not read by now is not found any more.
        for (const QString &picture : pictures)
            machine.write(picture, "no picture");
        QVERIFY(!iconOf(user, 0).isNull());
        QVERIFY(iconOf(user, 50).isNull());
    }
};

QTEST_MAIN(TestMainWindowRows)
#include "test_mainwindow_rows.moc"
