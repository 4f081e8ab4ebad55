// SPDX-License-Identifier: MIT
// Texts that Steam would not have written: each is refused before anything is written, or edited as
// the rules say. Huge ones are edited at once.
#include "model/steammodel.h"
#include "steam/keyvalues.h"
#include "steam/launchoptionseditor.h"
#include "steam/localconfigfile.h"
#include "support/samplesteam.h"
#include "support/scratchfile.h"

#include <QFileInfo>
#include <QTest>

#include <sys/time.h>

using namespace Qt::StringLiterals;

namespace
{

const QString appid = u"1002"_s;
const QString options = u"-edited %command%"_s;

QByteArray sample()
{
    return support::sampleLocalConfig(
        {{u"1001"_s, u"-first"_s}, {appid, u"-old"_s}, {u"1003"_s, std::nullopt}}, 2);
}

QByteArrayList cutAtEveryByte()
{
    QByteArrayList texts;
    for (qsizetype length = 0; length <= sample().size(); ++length)
        texts.append(sample().first(length));
    return texts;
}

QByteArrayList withoutOneByte()
{
    QByteArrayList texts;
    for (qsizetype at = 0; at < sample().size(); ++at)
        texts.append(sample().remove(at, 1));
    return texts;
}

/// Blocks with every row of one to four of these entries.
QByteArrayList blocksOfSeveralEntries()
{
    const QByteArrayList entries{
        "\"LaunchOptions\"\t\t\"-old\"\n",
        "\"LaunchOptions\"\t\t\"-x \\\"a b\\\"\"\n", // goes on behind its second quote
        "\"cloud\"\n{\n\"LaunchOptions\"\t\t\"-nested\"\n}\n",
        "\"LaunchOptions\"\n",
        "\"LastPlayed\"\t\t\"5\"\n",
    };
    QByteArrayList blocks = entries;
    for (qsizetype i = 0; blocks.size() < 5 + 25 + 125 + 625; ++i) {
        for (const QByteArray &entry : entries)
            blocks.append(blocks[i] + entry);
    }
    for (QByteArray &block : blocks) {
        block = "\"apps\"\n{\n\"1002\"\n{\n" + block +
                "}\n\"1003\"\n{\n\"LaunchOptions\"\t\t\"-other\"\n}\n}\n";
    }
    return blocks;
}

QByteArrayList deepBlocks()
{
    const QByteArray value = "\"LaunchOptions\"\t\t\"-old\"\n";
    const QByteArray app = "\"1002\"\n{\n" + value + "}\n";
    QByteArrayList texts;
    for (int depth = 1; depth <= 100'000; depth *= 10) {
        const QByteArray open = QByteArray("\"x\"{\n").repeated(depth);
        const QByteArray close = QByteArray("}\n").repeated(depth);
        texts += {
            "\"apps\"{\n" + open + app + close + "}\n", open + "\"apps\"{\n" + app + "}\n" + close,
            "\"apps\"{\n\"1002\"{\n" + open + value + close + "}\n}\n", "\"apps\"{\n" + open + app};
    }
    return texts;
}

} // namespace

class TestMalformedTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aMalformedTextIsRefusedOrEditedAsTheRulesSay_data()
    {
        QTest::addColumn<QByteArrayList>("texts");
        QTest::newRow("cut at every byte") << cutAtEveryByte();
        QTest::newRow("without one byte") << withoutOneByte();
        QTest::newRow("blocks of several entries") << blocksOfSeveralEntries();
        QTest::newRow("deep blocks") << deepBlocks();
    }
    void aMalformedTextIsRefusedOrEditedAsTheRulesSay()
    {
        QFETCH(const QByteArrayList, texts);
        const support::ScratchFile file("");
        qsizetype refused = 0;
        for (const QByteArray &text : texts) {
            const QByteArray shown = text.left(10'000);
            file.write(text);
            setOld(file.path());
            setOld(file.folder());
            QString error;
            const bool done = steam::setLaunchOptions(file.path(), appid, options, false, &error);
            const model::Edited told =
                model::edit(text.toStdString(), {{appid.toStdString(), options.toStdU16String()}});
            QVERIFY2(done == told.refusals.empty(), shown);
            QVERIFY2(file.read().toStdString() == told.text, shown);
            if (done) {
                QCOMPARE(steam::readLaunchOptions(file.read(), appid), options);
                continue;
            }
            ++refused;
            QVERIFY2(!error.isEmpty(), shown);
            QVERIFY2(file.read() == text, shown);
            QVERIFY2(isOld(file.path()) && isOld(file.folder()), shown); // nothing was written
        }
        qInfo("%lld of %lld refused", qlonglong(refused), qlonglong(texts.size()));
        QVERIFY(refused > 0 && refused < texts.size());
    }

    void aHugeFileIsEditedAtOnce_data()
    {
        QTest::addColumn<QByteArray>("text"); // in which "@" is repeated
        QTest::addColumn<QByteArray>("repeated");
        const QByteArray value = "\"LaunchOptions\"\t\t\"-old\"\n";
        QTest::newRow("much behind the games")
            << "\"u\"{\n\"apps\"{\n\"1002\"{\n" + value + "}\n}\n@}\n"
            << QByteArray("\"friend\"{\n\"note\"\t\t\"0000001 0000002 0000003\"\n}\n");
        QTest::newRow("white space behind the key")
            << QByteArray("\"apps\"{\n\"1002\"{\n\"LaunchOptions\"@\"-old\"\n}\n}\n")
            << QByteArray(" ");
        QTest::newRow("white space behind the section")
            << "\"apps\"@{\n\"1002\"{\n" + value + "}\n}\n"
            << QByteArray("\n");
        QTest::newRow("white space before the first line")
            << QByteArray("\"apps\"{\n\"1002\"{\n@\"Playtime\"\t\t\"1\"\n}\n}\n")
            << QByteArray(" ");
        QTest::newRow("keys without a block")
            << "\"u\"{\n@\"apps\"{\n\"1002\"{\n" + value + "}\n}\n}\n"
            << QByteArray("\"apps\" \"1002\" ");
    }
    /// What costs the square of the size takes hours, and the test runs out of time.
    void aHugeFileIsEditedAtOnce()
    {
        QFETCH(QByteArray, text);
        QFETCH(const QByteArray, repeated);
        text.replace("@", repeated.repeated(40'000'000 / repeated.size()));
        const steam::EditedText edited =
            steam::editLaunchOptions(steam::AppsSection(text), {{appid, options}});
        QVERIFY(edited.refusals.isEmpty());
        QCOMPARE(steam::readLaunchOptions(edited.bytes, appid), options);
    }

private:
    static void setOld(const QString &path)
    {
        const timeval start[2] = {};
        QCOMPARE(::utimes(qPrintable(path), start), 0);
    }
    static bool isOld(const QString &path)
    {
        return QFileInfo(path).lastModified().toSecsSinceEpoch() == 0;
    }
};

QTEST_GUILESS_MAIN(TestMalformedTexts)
#include "test_malformed_texts.moc"
