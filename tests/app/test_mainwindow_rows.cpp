// SPDX-License-Identifier: MIT
#include "modaldialogs.h"
#include "windowuser.h"

#include <QAccessible>
#include <QFile>
#include <QImage>
#include <QPixmap>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const QString own = u"-windowed"_s;
const QString warning =
    u"Has custom launch options; enabling will replace them (restored on disable):\n-windowed"_s;

QImage pictureOfRow(const WindowUser &user, int row)
{
    const QRect place = user.gameList->visualItemRect(user.gameList->item(row));
    return user.gameList->viewport()->grab(place).toImage();
}

/// How many pixels of the picture, from the column on, are not of the ground's colour.
int inkFrom(const QImage &picture, int column)
{
    int ink = 0;
    for (int y = 2; y < picture.height() - 2; ++y) {
        for (int x = column; x < picture.width() - 2; ++x)
            ink += picture.pixel(x, y) != picture.pixel(picture.width() - 3, 3) ? 1 : 0;
    }
    return ink;
}

/// What is drawn at the row's end, where a short name does not reach.
QImage endOfRow(const WindowUser &user, int row)
{
    const QImage picture = pictureOfRow(user, row);
    return picture.copy(picture.width() - picture.height(), 0, picture.height(), picture.height());
}

int inkAtTheEnd(const WindowUser &user, int row)
{
    return inkFrom(endOfRow(user, row), 0);
}

int inkOfTheName(const WindowUser &user, int row)
{
    QImage picture = pictureOfRow(user, row);
    return inkFrom(picture.copy(0, 0, picture.width() - picture.height(), picture.height()),
                   2 * picture.height());
}

QString descriptionOf(const WindowUser &user, int row)
{
    return QAccessible::queryAccessibleInterface(user.gameList)
        ->child(row)
        ->text(QAccessible::Description);
}

QString picturePath(const PlayersMachine &machine, const QString &appid)
{
    const QString path =
        machine.steamRoot() + "/appcache/librarycache/"_L1 + appid + "_icon.jpg"_L1;
    machine.write(path, {});
    return path;
}

QIcon iconOf(const WindowUser &user, int row)
{
    return user.gameList->item(row)->data(Qt::DecorationRole).value<QIcon>();
}

} // namespace

/// What can be told of a game by a glance at its row.
class TestMainWindowRows : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aPendingGameIsInBold()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s, defaultOptions}});
        WindowUser user;
        user.select(u"Beta"_s); // a selected row is of other colours
        const int plain = inkOfTheName(user, 0);
        user.toggle(u"Alpha"_s);
        user.select(u"Beta"_s);
        const int bold = inkOfTheName(user, 0);
        QVERIFY2(bold > plain * 11 / 10, qPrintable(u"%1, %2"_s.arg(plain).arg(bold)));
        user.toggle(u"Alpha"_s);
        user.select(u"Beta"_s);
        QCOMPARE(inkOfTheName(user, 0), plain);
    }

    void anotherGpuAndAnEditMakeTheRowBold_data()
    {
        using Step = std::function<void(WindowUser &)>;
        QTest::addColumn<Step>("step");
        QTest::newRow("another rendering GPU")
            << Step([](WindowUser &user) { user.choose(user.renderGpuCombo, 0); });
        QTest::newRow("an edit") << Step([](WindowUser &user) { user.click(user.framegenCheck); });
    }
    void anotherGpuAndAnEditMakeTheRowBold()
    {
        QFETCH(const std::function<void(WindowUser &)>, step);
        const PlayersMachine machine;
        machine.addSecondGpu();
        machine.installGames(
            {{u"100"_s, u"Alpha"_s,
              QString(defaultOptions)
                  .replace("%command%"_L1,
                           "env MESA_VK_DEVICE_SELECT=pci-0000_01_00_0 DRI_PRIME=10de:2684 "
                           "%command%"_L1)},
             {u"200"_s, u"Beta"_s}});
        WindowUser user;
        const auto inkWhileTheOtherIsSelected = [&user] {
            user.selectRow(1);
            const int ink = inkOfTheName(user, 0);
            user.selectRow(0);
            return ink;
        };
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        const int plain = inkWhileTheOtherIsSelected();
        step(user);
        QVERIFY(inkWhileTheOtherIsSelected() > plain * 11 / 10);
    }

    void applyTakesTheBoldFaceBack()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        WindowUser user;
        user.select(u"Beta"_s);
        const int plain = inkOfTheName(user, 0);
        user.toggle(u"Alpha"_s);
        const MessageBoxAnswers boxes({QMessageBox::No});
        user.click(user.applyButton);
        user.select(u"Beta"_s);
        QCOMPARE(inkOfTheName(user, 0), plain);
    }

    void optionsOfItsOwnAreMarkedAndTold()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, own},
                              {u"200"_s, u"Beta"_s},
                              {u"300"_s, u"Gamma"_s, defaultOptions}});
        WindowUser user;
        // A selected row has other colours.
        const QImage selectedWithMark = endOfRow(user, 0);
        user.selectRow(1);
        QVERIFY(endOfRow(user, 1) != selectedWithMark);
        QCOMPARE(inkAtTheEnd(user, 2), 0);
        user.selectRow(2);
        QVERIFY(inkAtTheEnd(user, 0) > 0);
        QCOMPARE(inkAtTheEnd(user, 1), 0);
        QCOMPARE(user.gameList->item(0)->toolTip(), warning);
        QCOMPARE(user.gameList->item(1)->toolTip(), QString());
        QCOMPARE(user.gameList->item(2)->toolTip(), QString());
        QCOMPARE(descriptionOf(user, 0), warning);

        // Ticked, the game is to have the program's options.
        user.toggle(u"Alpha"_s);
        QVERIFY(endOfRow(user, 0) != selectedWithMark);
        QCOMPARE(user.gameList->item(0)->toolTip(), QString());
        QCOMPARE(descriptionOf(user, 0), QString());
        user.toggle(u"Alpha"_s);
        QCOMPARE(endOfRow(user, 0), selectedWithMark);
        QCOMPARE(user.gameList->item(0)->toolTip(), warning);
        QCOMPARE(descriptionOf(user, 0), warning);
    }

    void optionsThatApplyGivesBackAreMarkedAndTold()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, own}, {u"200"_s, u"Beta"_s}});
        WindowUser user;
        const MessageBoxAnswers boxes({QMessageBox::No, QMessageBox::No});
        user.toggle(u"Alpha"_s);
        user.click(user.applyButton);
        user.toggle(u"Alpha"_s);
        user.select(u"Beta"_s);
        QCOMPARE(inkAtTheEnd(user, 0), 0); // they are not in Steam yet
        QCOMPARE(user.gameList->item(0)->toolTip(), QString());
        user.click(user.applyButton);
        QVERIFY(inkAtTheEnd(user, 0) > 0);
        QCOMPARE(user.gameList->item(0)->toolTip(), warning);
        QCOMPARE(descriptionOf(user, 0), warning);
    }

    void aMarkedRowIsElseAsAnyOther()
    {
        const PlayersMachine machine;
        machine.installGames(
            {{u"100"_s, u"Alpha"_s, own}, {u"200"_s, u"Alpha"_s}, {u"300"_s, u"Beta"_s}});
        WindowUser user;
        user.selectRow(2);
        const QImage marked = pictureOfRow(user, 0);
        const QImage other = pictureOfRow(user, 1);
        QVERIFY(marked != other);
        QVERIFY(inkOfTheName(user, 1) > 0);
        const QRect beforeTheMark(0, 0, marked.width() - marked.height(), marked.height());
        QCOMPARE(marked.copy(beforeTheMark), other.copy(beforeTheMark));
    }

    void aLongNameEndsBeforeTheMark()
    {
        const PlayersMachine machine;
        machine.installGames(
            {{u"100"_s, QString(200, u'W'), own}, {u"200"_s, u"Z"_s, own}, {u"300"_s, u"Z2"_s}});
        WindowUser user;
        user.selectRow(2);
        const QImage longName = pictureOfRow(user, 0);
        const QImage shortName = pictureOfRow(user, 1);
        const int mark = qRound(18 * longName.devicePixelRatio()); // its width and what is around
        const QRect end(longName.width() - mark, 2, mark - 2, longName.height() - 4);
        QCOMPARE(longName.copy(end), shortName.copy(end));
    }

    void aSelectedRowsPictureKeepsItsColours()
    {
        const PlayersMachine machine;
        QImage red(32, 32, QImage::Format_RGB32);
        red.fill(Qt::red);
        QVERIFY(red.save(picturePath(machine, u"100"_s), "PNG"));
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QVERIFY(user.gameList->item(0)->isSelected());
        const QImage row = pictureOfRow(user, 0);
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
        const PlayersMachine machine;
        QImage picture(whole, QImage::Format_RGB32);
        picture.fill(Qt::red);
        QVERIFY(picture.save(picturePath(machine, u"100"_s), "PNG"));
        machine.installGames({{u"100"_s, u"Alpha"_s}});
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

    void whatIsNoPictureLeavesTheRowWithoutOne_data()
    {
        using Place = std::function<void(const QByteArray &path)>;
        QTest::addColumn<Place>("place");
        QTest::newRow("text") << Place([](const QByteArray &path) {
            QFile file(QString::fromLocal8Bit(path));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("no picture");
        });
        QTest::newRow("cut") << Place([](const QByteArray &path) {
            QImage(64, 64, QImage::Format_RGB32).save(QString::fromLocal8Bit(path), "PNG");
            QFile(QString::fromLocal8Bit(path)).resize(40);
        });
        QTest::newRow("a device without an end") << Place([](const QByteArray &path) {
            QFile::remove(QString::fromLocal8Bit(path));
            QVERIFY(QFile::link(u"/dev/zero"_s, QString::fromLocal8Bit(path)));
        });
        QTest::newRow("larger than any picture") << Place([](const QByteArray &path) {
            QVERIFY(QFile(QString::fromLocal8Bit(path)).resize(qint64(1) << 40));
        });
        QTest::newRow("a small file of a picture that takes much memory")
            << Place([](const QByteArray &path) {
                   // A whole GIF of 9,000 x 9,000 pixels, which take 324 MB when it is read.
                   QFile file(QString::fromLocal8Bit(path));
                   QVERIFY(file.open(QIODevice::WriteOnly));
                   file.write(QByteArray::fromHex("47494638396128232823800000ff00000000002c00000000"
                                                  "010001000002024401003b"));
               });
    }
    void whatIsNoPictureLeavesTheRowWithoutOne()
    {
        QFETCH(const std::function<void(const QByteArray &)>, place);
        const PlayersMachine machine;
        place(picturePath(machine, u"100"_s).toLocal8Bit());
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QVERIFY(user.gameList->item(0)->data(Qt::DecorationRole).isValid());
        QVERIFY(iconOf(user, 0).isNull());
    }

    void aPictureIsReadWhenItsRowComesIntoView()
    {
        const PlayersMachine machine;
        QList<InstalledGame> games;
        QImage red(32, 32, QImage::Format_RGB32);
        red.fill(Qt::red);
        for (int i = 100; i < 160; ++i) {
            games.append({QString::number(i), u"Game %1"_s.arg(i)});
            QVERIFY(red.save(picturePath(machine, QString::number(i)), "PNG"));
        }
        machine.installGames(games);
        WindowUser user;
        user.gameList->grab(); // painted
        // Whatever takes the place of a picture that was not read is shown, and of no other.
        for (int i = 100; i < 160; ++i)
            machine.write(picturePath(machine, QString::number(i)), "no picture");
        QVERIFY(!iconOf(user, 0).isNull());
        QVERIFY(iconOf(user, 59).isNull());
    }
};

QTEST_MAIN(TestMainWindowRows)
#include "test_mainwindow_rows.moc"
