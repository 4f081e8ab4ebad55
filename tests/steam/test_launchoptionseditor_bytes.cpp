// SPDX-License-Identifier: MIT
// Outside the changed value every byte stays, whatever the file's bytes are; and the file stays the
// kind of file that it was.
#include "steam/localconfigfile.h"

#include "steam/keyvalues.h"
#include "support/scratchfile.h"

#include <QFileInfo>
#include <QTest>

using namespace Qt::StringLiterals;
using support::ScratchFile;

namespace
{

/// The bytes that mean nothing to the format.
QByteArray allOtherBytes()
{
    QByteArray bytes;
    for (int byte = 0; byte < 256; ++byte) {
        if (!QByteArrayView("{}\"\\").contains(static_cast<char>(byte)))
            bytes += static_cast<char>(byte);
    }
    return bytes;
}

} // namespace

class TestLaunchOptionsEditorBytes : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void oddBytesStay_data()
    {
        QTest::addColumn<QByteArray>("odd");
        QTest::newRow("NUL bytes") << QByteArray("a\0\0b", 4);
        QTest::newRow("line separator") << QByteArray("\xe2\x80\xa8");
        QTest::newRow("paragraph separator and next line") << QByteArray("\xe2\x80\xa9\xc2\x85");
        QTest::newRow("byte-order mark") << QByteArray("\xef\xbb\xbf");
        QTest::newRow("byte-order mark of UTF-16") << QByteArray("\xff\xfe");
        QTest::newRow("lone continuation byte") << QByteArray("\x80");
        QTest::newRow("lead byte without continuation") << QByteArray("\xc3");
        QTest::newRow("lead byte of four") << QByteArray("\xf0\x9f\x8e");
        QTest::newRow("overlong form") << QByteArray("\xc0\xbb");
        QTest::newRow("encoded surrogate") << QByteArray("\xed\xa0\x80");
        QTest::newRow("beyond Unicode") << QByteArray("\xf4\x90\x80\x80");
        QTest::newRow("replacement character") << QByteArray("\xef\xbf\xbd");
        QTest::newRow("no characters") << QByteArray("\xef\xbf\xbe\xef\xbf\xbf");
        QTest::newRow("Latin-1") << QByteArray("J\xf6rg");
        QTest::newRow("letter and combining mark") << QByteArray("o\xcc\x88");
        QTest::newRow("four bytes") << QByteArray("\xf0\x9f\x8e\xae");
        QTest::newRow("line ends of all kinds") << QByteArray("\r\n\r\n\n\r");
        QTest::newRow("every byte but braces, quotes and backslashes") << allOtherBytes();
    }
    void oddBytesStay()
    {
        QFETCH(QByteArray, odd);
        // At the start of the file, before, in and behind the section and the block, at the file's
        // end.
        const QByteArray value = odd + "\"x\"\n{\n" + odd + "\"apps\"\n{\n" + odd +
                                 "\n\t\"620\"\n\t{\n\t\t\"k\"\t\"" + odd;
        const QByteArray behind = "\n\t}\n" + odd + "}\n" + odd + "}\n" + odd;
        {
            const ScratchFile file(value + "\"\n\t\t\"LaunchOptions\"\t\t\"old\"" + odd + behind);
            QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new Ü"_s, false, nullptr));
            QCOMPARE(file.read(),
                     value + "\"\n\t\t\"LaunchOptions\"\t\t\"new \xc3\x9c\"" + odd + behind);
        }
        { // no value yet: a line
            const ScratchFile file(odd + "\"apps\" {\n\t\"620\" {\n\t\t\"k\" \"" + odd + "\"" +
                                   behind);
            QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, nullptr));
            QCOMPARE(file.read(),
                     odd +
                         "\"apps\" {\n\t\"620\" {\n\t\t\"LaunchOptions\"\t\t\"new\"\n\t\t\"k\" \"" +
                         odd + "\"" + behind);
        }
        { // no block yet
            const ScratchFile file(odd + "\"apps\" {" + odd + "}" + odd);
            QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, nullptr));
            QCOMPARE(file.read(), odd +
                                      "\"apps\" {\n\t\t\t\t\t\"620\"\n\t\t\t\t\t{\n"
                                      "\t\t\t\t\t\t\"LaunchOptions\"\t\t\"new\"\n\t\t\t\t\t}" +
                                      odd + "}" + odd);
        }
    }

    void bracesThatAreNoObstacle_data()
    {
        QTest::addColumn<QByteArray>("marked"); // "~" stands in the place of the value
        QTest::newRow("a pair in a value of the block")
            << QByteArray("\"apps\" { \"620\" { \"k\" \"{}\" \"LaunchOptions\" \"~\" } }");
        QTest::newRow("a pair in a value of the section")
            << QByteArray("\"apps\" { \"k\" \"{}\" \"620\" { \"LaunchOptions\" \"~\" } }");
        QTest::newRow("an opening one before the section")
            << QByteArray("\"k\" \"{\" \"apps\" { \"620\" { \"LaunchOptions\" \"~\" } }");
        QTest::newRow("a closing one after the section")
            << QByteArray("\"apps\" { \"620\" { \"LaunchOptions\" \"~\" } } \"k\" \"}\"");
        QTest::newRow("a quote that does not end before the section")
            << QByteArray("\"k \"apps\" { \"620\" { \"LaunchOptions\" \"~\" } }");
        QTest::newRow("an escaped quote in another value")
            << QByteArray("\"apps\" { \"620\" { \"k\" \"a \\\"b\" \"LaunchOptions\" \"~\" } }");
        QTest::newRow("an escaped backslash at the end of another value")
            << QByteArray("\"apps\" { \"620\" { \"k\" \"C:\\\\\" \"LaunchOptions\" \"~\" } }");
    }
    void bracesThatAreNoObstacle()
    {
        QFETCH(QByteArray, marked);
        const auto with = [&marked](const char *value) {
            return QByteArray(marked).replace("~", value);
        };
        const ScratchFile file(with("old"));
        QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, nullptr));
        QCOMPARE(file.read(), with("new"));
    }

    void optionsOfOddText_data()
    {
        QTest::addColumn<QString>("options");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("begins with U+FEFF")
            << u"\ufeff%command%"_s << QByteArray("\xef\xbb\xbf%command%");
        QTest::newRow("U+FEFF alone") << u"\ufeff"_s << QByteArray("\xef\xbb\xbf");
        QTest::newRow("line separator") << u"a\u2028b"_s
                                        << QByteArray("a\xe2\x80\xa8"
                                                      "b");
        QTest::newRow("NUL") << u"a\0b"_s << QByteArray("a\0b", 3);
        QTest::newRow("line ends") << u"a\r\nb\n"_s << QByteArray("a\r\nb\n");
        QTest::newRow("two bytes") << u"Ü"_s << QByteArray("\xc3\x9c");
        QTest::newRow("surrogate pair") << u"🎮"_s << QByteArray("\xf0\x9f\x8e\xae");
        QTest::newRow("replacement character") << u"\ufffd"_s << QByteArray("\xef\xbf\xbd");
        QTest::newRow("no character") << u"\uffff"_s << QByteArray("\xef\xbf\xbf");
        QTest::newRow("not composed") << u"o\u0308"_s << QByteArray("o\xcc\x88");
        QTest::newRow("apostrophes and dollars") << u"A='$B' `x`"_s << QByteArray("A='$B' `x`");
    }
    void optionsOfOddText()
    {
        QFETCH(QString, options);
        QFETCH(QByteArray, bytes);
        const ScratchFile file("\"apps\" { \"620\" { \"LaunchOptions\" \"old\" } }");
        QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, options, false, nullptr));
        QCOMPARE(file.read(), "\"apps\" { \"620\" { \"LaunchOptions\" \"" + bytes + "\" } }");
        QCOMPARE(steam::readLaunchOptions(file.read(), u"620"_s), options);
    }

    void sectionWithTheMostLettersIsEdited()
    {
        // The first has more bytes.
        const QByteArray first = "\"apps\" { \"620\" { \"LaunchOptions\" \"äöü\" } }\n";
        const QByteArray head = "\"apps\" { \"620\" { \"LaunchOptions\" \"";
        const ScratchFile file(first + head + "four\" } }");
        QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"abcde"_s, false, nullptr));
        QCOMPARE(file.read(), first + head + "abcde\" } }");
    }

    void noOtherBlanks_data()
    {
        QTest::addColumn<QByteArray>("blank");
        QTest::newRow("no-break space") << QByteArray("\xc2\xa0");
        QTest::newRow("next line") << QByteArray("\xc2\x85");
        QTest::newRow("the byte a0") << QByteArray("\xa0");
        QTest::newRow("the byte 85") << QByteArray("\x85");
        QTest::newRow("em space") << QByteArray("\xe2\x80\x83");
        QTest::newRow("NUL") << QByteArray("\0", 1);
        QTest::newRow("unit separator") << QByteArray("\x1f");
    }
    void noOtherBlanks()
    {
        // Between a key and what follows it, these are no white space: the key is not seen.
        QFETCH(QByteArray, blank);
        QString error;
        const ScratchFile section("\"apps\"" + blank + "{ }");
        QVERIFY(!steam::setLaunchOptions(section.path(), u"620"_s, u"new"_s, false, &error));
        QCOMPARE(error, u"no apps section found"_s);

        const ScratchFile value("\"apps\" { \"620\" { \"LaunchOptions\"" + blank + "\"old\" } }");
        QVERIFY(!steam::setLaunchOptions(value.path(), u"620"_s, u"new"_s, false, &error));
        QCOMPARE(error, u"cannot determine indentation for 620"_s);

        const ScratchFile block("\"apps\" { \"620\"" + blank + "{ } }");
        QVERIFY(steam::setLaunchOptions(block.path(), u"620"_s, u"new"_s, false, &error));
        QCOMPARE(block.read(), "\"apps\" {\n\t\t\t\t\t\"620\"\n\t\t\t\t\t{\n"
                               "\t\t\t\t\t\t\"LaunchOptions\"\t\t\"new\"\n\t\t\t\t\t} \"620\"" +
                                   blank + "{ } }");
    }

    void carriageReturnsStay()
    {
        const ScratchFile file(
            "\"apps\"\r\n{\r\n\t\"620\"\r\n\t{\r\n\t\t\"LaunchOptions\"\t\t\"old\"\r\n"
            "\t}\r\n}\r\n");
        QVERIFY(steam::setLaunchOptions(file.path(), u"620"_s, u"new"_s, false, nullptr));
        QCOMPARE(
            file.read(),
            QByteArray("\"apps\"\r\n{\r\n\t\"620\"\r\n\t{\r\n\t\t\"LaunchOptions\"\t\t\"new\"\r\n"
                       "\t}\r\n}\r\n"));
        // A new block takes its tabs from behind the line feed and brings plain line feeds.
        QVERIFY(steam::setLaunchOptions(file.path(), u"730"_s, u"x"_s, false, nullptr));
        QCOMPARE(file.read(),
                 QByteArray("\"apps\"\r\n{\n\t\"730\"\n\t{\n\t\t\"LaunchOptions\"\t\t\"x\"\n"
                            "\t}\r\n\t\"620\"\r\n\t{\r\n\t\t\"LaunchOptions\"\t\t\"new\"\r\n"
                            "\t}\r\n}\r\n"));
    }

    void linkAndModeStay()
    {
        const ScratchFile file("\"apps\" { \"620\" { \"LaunchOptions\" \"old\" } }");
        ScratchFile::setMode(file.path(), 0640);
        const ScratchFile other("");
        const QString link = other.beside(u"link.vdf"_s);
        QVERIFY(QFile::link(file.path(), link));
        QVERIFY(steam::setLaunchOptions(link, u"620"_s, u"new"_s, false, nullptr));
        QVERIFY(QFileInfo(link).isSymLink());
        QCOMPARE(file.read(), QByteArray("\"apps\" { \"620\" { \"LaunchOptions\" \"new\" } }"));
        QCOMPARE(ScratchFile::mode(file.path()), 0640);
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsEditorBytes)
#include "test_launchoptionseditor_bytes.moc"
