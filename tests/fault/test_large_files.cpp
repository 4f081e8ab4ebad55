// SPDX-License-Identifier: MIT
// The edit of a large localconfig.vdf costs in proportion to its size, whatever it is made of. Cost
// is the processor time that the edit uses.
#include "steam/launchoptionseditor.h"

#include <QTest>

#include <ctime>

using namespace Qt::StringLiterals;

namespace
{

constexpr qsizetype megabyte = 1'000'000;

using Text = QByteArray (*)(qsizetype size, const QByteArray &options);

QByteArray file(const QByteArray &behindApps, const QByteArray &behindKey,
                const QByteArray &options, const QByteArray &beforeApps = {},
                const QByteArray &after = {})
{
    return "\"UserLocalConfigStore\"\n{\n\t" + beforeApps + "\"apps\"" + behindApps +
           "\n\t{\n\t\t\"620\"\n\t\t{\n\t\t\t\"LaunchOptions\"" + behindKey + "\"" + options +
           "\"\n\t\t}\n\t}\n" + after + "}\n";
}

QByteArray muchBehindTheGames(qsizetype size, const QByteArray &options)
{
    const QByteArray note = "\t\"friend\"\n\t{\n\t\t\"note\"\t\t\"0000001 0000002 0000003\"\n\t}\n";
    return file({}, "\t\t", options, {}, note.repeated(size / note.size()));
}

QByteArray whiteSpaceBehindTheKey(qsizetype size, const QByteArray &options)
{
    return file({}, QByteArray(size, ' '), options);
}

QByteArray whiteSpaceBehindTheSection(qsizetype size, const QByteArray &options)
{
    return file(QByteArray(size, '\n'), "\t\t", options);
}

QByteArray keysWithoutABlock(qsizetype size, const QByteArray &options)
{
    const QByteArray keys = "\"apps\" \"620\" ";
    return file({}, "\t\t", options, keys.repeated(size / keys.size()));
}

/// The line is new: nothing is there without options.
QByteArray whiteSpaceBeforeTheFirstLine(qsizetype size, const QByteArray &options)
{
    const QByteArray indent(size, ' ');
    const QByteArray line = indent + "\"LaunchOptions\"\t\t\"" + options + "\"\n";
    return "\"u\"\n{\n\"apps\"\n{\n\"620\"\n{\n" + (options == "-old" ? QByteArray() : line) +
           indent + "\"Playtime\"\t\t\"1\"\n}\n}\n}\n";
}

/// Seconds, of the faster of two edits.
double cost(Text text, qsizetype size)
{
    const QByteArray before = text(size, "-old");
    const QByteArray after = text(size, "-new");
    double best = 1e9;
    for (int i = 0; i < 2; ++i) {
        const std::clock_t start = std::clock();
        const steam::EditedText edited = steam::editLaunchOptions(before, {{u"620"_s, u"-new"_s}});
        best = std::min(best, double(std::clock() - start) / CLOCKS_PER_SEC);
        if (edited.bytes != after)
            qFatal("not edited as it should be");
    }
    return best;
}

} // namespace

Q_DECLARE_METATYPE(Text)

class TestLargeFiles : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void fourTimesTheSizeCostsNoSquareOfIt_data()
    {
        QTest::addColumn<Text>("text");
        QTest::newRow("much behind the games") << Text(muchBehindTheGames);
        QTest::newRow("white space behind the key") << Text(whiteSpaceBehindTheKey);
        QTest::newRow("white space behind the section") << Text(whiteSpaceBehindTheSection);
        QTest::newRow("white space before the first line") << Text(whiteSpaceBeforeTheFirstLine);
        QTest::newRow("keys without a block") << Text(keysWithoutABlock);
    }
    void fourTimesTheSizeCostsNoSquareOfIt()
    {
        QFETCH(const Text, text);
        const double small = cost(text, 5 * megabyte);
        const double large = cost(text, 20 * megabyte);
        qInfo("%.3f s for 5 MB, %.3f s for 20 MB", small, large);
        QVERIFY(large < 9 * std::max(small, 0.1)); // its square would be hours
    }
};

QTEST_GUILESS_MAIN(TestLargeFiles)
#include "test_large_files.moc"
