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
const auto pendingInWords = u"Change not applied yet."_s;
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

/// What is written in the row: the name, and the mark behind it.
int inkOfTheName(const WindowUser &user, int row)
{
    const QImage picture = pictureOfRow(user, row);
    return inkFrom(picture, 2 * picture.height());
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
        QCOMPARE(descriptionOf(user, 0), QString());
        const int plain = inkWhileTheOtherIsSelected();
        step(user);
        QVERIFY(inkWhileTheOtherIsSelected() > plain * 11 / 10);
        QCOMPARE(descriptionOf(user, 0), pendingInWords);
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
                              {u"200"_s, u"Alpha"_s},
                              {u"300"_s, u"Alpha"_s, defaultOptions},
                              {u"400"_s, u"Beta"_s}});
        WindowUser user;
        user.selectRow(3); // a selected row has other colours
        const int marked = inkOfTheName(user, 0);
        const int plain = inkOfTheName(user, 1);
        QVERIFY(marked > plain && plain > 0);
        QCOMPARE(inkOfTheName(user, 2), plain);
        QCOMPARE(user.gameList->item(0)->toolTip(), warning);
        QCOMPARE(user.gameList->item(1)->toolTip(), QString());
        QCOMPARE(user.gameList->item(2)->toolTip(), QString());
        QCOMPARE(descriptionOf(user, 0), warning);

        // Ticked, both games are to have the program's options.
        user.toggleRow(0);
        user.toggleRow(1);
        user.selectRow(3);
        QCOMPARE(inkOfTheName(user, 0), inkOfTheName(user, 1));
        QCOMPARE(descriptionOf(user, 0), pendingInWords);
        QCOMPARE(user.gameList->item(0)->toolTip(), QString());
        user.toggleRow(0);
        user.selectRow(3);
        QCOMPARE(inkOfTheName(user, 0), marked);
        QCOMPARE(user.gameList->item(0)->toolTip(), warning);
        QCOMPARE(descriptionOf(user, 0), warning);
    }

    void optionsThatApplyGivesBackAreMarkedAndTold()
    {
        const PlayersMachine machine;
        machine.installGames(
            {{u"100"_s, u"Alpha"_s, own}, {u"200"_s, u"Alpha"_s}, {u"300"_s, u"Beta"_s}});
        WindowUser user;
        const MessageBoxAnswers boxes({QMessageBox::No, QMessageBox::No});
        user.toggleRow(0);
        user.click(user.applyButton);
        user.toggleRow(0);
        QCOMPARE(user.gameList->item(0)->toolTip(), QString()); // they are not in Steam yet
        user.click(user.applyButton);
        user.selectRow(2);
        QVERIFY(inkOfTheName(user, 0) > inkOfTheName(user, 1));
        QCOMPARE(user.gameList->item(0)->toolTip(), warning);
        QCOMPARE(descriptionOf(user, 0), warning);
    }

    void theMarkIsSeenBehindANameOfAnyLengthAndHidesNothingOfAShortOne_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isWhole");
        QTest::newRow("short") << u"Game 3"_s << true;
        QTest::newRow("long") << QString(200, u'W') << false;
    }
    void theMarkIsSeenBehindANameOfAnyLengthAndHidesNothingOfAShortOne()
    {
        QFETCH(const QString, name);
        QFETCH(const bool, isWhole);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, name, own}, {u"200"_s, name}, {u"300"_s, u"Z"_s}});
        WindowUser user;
        user.selectRow(2);
        QImage marked = pictureOfRow(user, 0);
        const QImage other = pictureOfRow(user, 1);
        QVERIFY(marked != other);
        QCOMPARE(user.gameList->item(0)->text(), name);
        if (!isWhole)
            return;
        // Nothing of the plain row is missing in the marked one.
        const QRgb ground = other.pixel(other.width() - 3, 3);
        for (int i = 0; i < other.width() * other.height(); ++i) {
            const QPoint place(i % other.width(), i / other.width());
            if (other.pixel(place) != ground)
                QCOMPARE(marked.pixel(place), other.pixel(place));
        }
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
        QVERIFY(iconOf(user, 50).isNull());
    }
};

QTEST_MAIN(TestMainWindowRows)
#include "test_mainwindow_rows.moc"
