// SPDX-License-Identifier: MIT
// Which files are shown as a game's picture. Anybody can put a file there: none may take the time
// or the memory that Steam's own pictures do not take.
#include "app/gameitem.h"

#include "support/scratchfile.h"

#include <QBuffer>
#include <QImageWriter>
#include <QListWidget>
#include <QTest>
#include <QtEndian>

using namespace Qt::StringLiterals;
using support::ScratchFile;

namespace
{

QByteArray picture(QSize size, const QByteArray &format, bool progressive = false)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, format);
    writer.setProgressiveScanWrite(progressive);
    QImage image(size, QImage::Format_RGB32);
    image.fill(Qt::red);
    if (!writer.write(image))
        qFatal("no %s written", format.constData());
    return bytes;
}

QByteArray bigEndian(quint16 number)
{
    return QByteArray(1, char(number >> 8)) + char(number);
}

/// A marker and its segment, as ITU T.81 has them.
QByteArray segment(char marker, const QByteArray &content)
{
    return "\xff" + QByteArray(1, marker) + bigEndian(quint16(content.size() + 2)) + content;
}

/// A grey progressive JPEG of some hundred bytes, of whatever size: its scans say "no more
/// coefficients" for 16,384 blocks at a time.
QByteArray smallJpeg(quint16 width, quint16 height, int scans)
{
    const int blocks = (width + 7) / 8 * ((height + 7) / 8);
    QByteArray bytes = "\xff\xd8" + segment('\xdb', QByteArray(1, 0) + QByteArray(64, 1));
    bytes += segment('\xc2', "\x08" + bigEndian(height) + bigEndian(width) +
                                 QByteArray::fromHex("01011100"));
    bytes += segment('\xc4', QByteArray::fromHex("0001") + QByteArray(15, 0) + '\0');
    bytes += segment('\xc4', QByteArray::fromHex("1001") + QByteArray(15, 0) + '\xe0');
    bytes += segment('\xda', QByteArray::fromHex("010100000000")) + QByteArray(blocks / 8 + 1, 0);
    for (int scan = 1; scan < scans; ++scan)
        bytes += segment('\xda', QByteArray::fromHex("010100013f00")) +
                 QByteArray((blocks / 16'384 + 1) * 2, 0);
    return bytes + "\xff\xd9";
}

/// The PNG with texts in it, compressed, of 100 kB each.
QByteArray withTexts(const QByteArray &png, int count)
{
    QImage image;
    image.loadFromData(png, "PNG");
    for (int i = 0; i < count; ++i)
        image.setText(u"text %1"_s.arg(i), QString(100'000, u'x'));
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

const QSize largestOfSteams(3840, 1240);
constexpr qsizetype mostBytes = 8 * 1024 * 1024;

} // namespace

class TestGameItem : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void picturesAsSteamHasThemAreShown_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("a JPEG") << picture({32, 32}, "jpeg");
        QTest::newRow("a PNG, called JPEG") << picture({32, 32}, "png");
        QTest::newRow("Steam's largest") << picture(largestOfSteams, "jpeg");
        QTest::newRow("Steam's largest, in several scans")
            << picture(largestOfSteams, "jpeg", true);
        QTest::newRow("Steam's largest as PNG") << picture(largestOfSteams, "png");
        QTest::newRow("one of the most pixels") << picture({4000, 1250}, "jpeg");
        QTest::newRow("one of a dozen scans") << smallJpeg(2000, 2000, 12);
        QTest::newRow("one with a text") << withTexts(picture({8, 8}, "png"), 1);
        QTest::newRow("the largest file") << picture({8, 8}, "png").leftJustified(mostBytes, '\0');
    }
    void picturesAsSteamHasThemAreShown() { QVERIFY(!shownSize().isEmpty()); }

    void aPictureKeepsItsShape_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QSize>("shown");
        QTest::newRow("twice as wide as high") << picture({64, 32}, "jpeg") << QSize(32, 16);
        QTest::newRow("as wide as can be") << picture({4096, 1}, "jpeg") << QSize(32, 1);
        QTest::newRow("as high as can be") << picture({1, 4096}, "jpeg") << QSize(1, 32);
    }
    void aPictureKeepsItsShape()
    {
        QFETCH(const QSize, shown);
        QCOMPARE(shownSize(), shown);
    }

    void otherFilesAreNotShown_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const auto row = [](const char *title, const QByteArray &bytes) {
            QTest::newRow(title) << bytes;
        };
        row("nothing", "");
        row("a text", "no picture");
        row("the beginning of a JPEG", picture({32, 32}, "jpeg").first(20));
        row("the beginning of a PNG", picture({32, 32}, "png").first(20));
        row("an SVG", "<svg xmlns='http://www.w3.org/2000/svg' width='8' height='8'/>");
        row("a BMP", picture({8, 8}, "bmp"));
        row("an XPM", picture({8, 8}, "xpm"));
        row("one too wide", picture({4097, 1}, "jpeg"));
        row("one too high", picture({1, 4097}, "png"));
        row("one of too many pixels", picture({4001, 1250}, "jpeg"));
        row("a small file of 40,000 x 40,000", smallJpeg(40'000, 40'000, 2));
        row("a small file of 300 scans", smallJpeg(2000, 2000, 300));
        row("one with many texts", withTexts(picture({8, 8}, "png"), 3));
        row("a file too large", picture({8, 8}, "png").leftJustified(mostBytes + 1, '\0'));
    }
    void otherFilesAreNotShown() { QVERIFY(shownSize().isEmpty()); }

private:
    /// The size in which a row shows the picture; empty if it shows none.
    static QSize shownSize()
    {
        QFETCH(const QByteArray, bytes);
        const ScratchFile file(bytes, u"a.jpg"_s);
        QListWidget list;
        list.setIconSize({32, 32});
        list.addItem(new GameItem(u"A game"_s, file.path()));
        const QIcon icon = list.item(0)->data(Qt::DecorationRole).value<QIcon>();
        return icon.availableSizes().value(0);
    }
};

QTEST_MAIN(TestGameItem)
#include "test_gameitem.moc"
