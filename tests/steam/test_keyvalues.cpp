// SPDX-License-Identifier: MIT
#include "steam/keyvalues.h"

#include <QTest>

using namespace Qt::StringLiterals;
using steam::BraceSpan;

// Positions in these tests are written as marks in the text: "«" stands before the expected "{",
// "»" before the expected "}"; both are taken out before the text is searched.

namespace
{

struct Marked {
    QString text;
    BraceSpan span;
};

Marked unmark(QString text)
{
    Marked marked;
    marked.span.open = text.indexOf(u'«');
    if (marked.span.open >= 0)
        text.remove(marked.span.open, 1);
    marked.span.close = text.indexOf(u'»');
    if (marked.span.close >= 0)
        text.remove(marked.span.close, 1);
    marked.text = text;
    return marked;
}

/// What the program works on.
QByteArray bytesOf(const QString &text)
{
    return text.toUtf8();
}

/// The same span in the text that the bytes decode to.
BraceSpan decoded(BraceSpan span, const QByteArray &utf8)
{
    const auto position = [&utf8](qsizetype byte) {
        return byte < 0 ? -1 : QString::fromUtf8(utf8.first(byte)).size();
    };
    return {position(span.open), position(span.close)};
}

} // namespace

class TestKeyValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void matchingBrace_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qsizetype>("start");
        QTest::addColumn<qsizetype>("close");
        const auto row = [](const char *name, const QString &text, qsizetype start,
                            qsizetype close) { QTest::newRow(name) << text << start << close; };
        row("empty block", u"{}"_s, 0, 1);
        row("content", u"{ab}"_s, 0, 3);
        row("nested", u"{{}{}}"_s, 0, 5);
        row("an inner one", u"{{}{}}"_s, 3, 4);
        row("not closed", u"{{}"_s, 0, -1);
        row("text ends at the brace", u"{"_s, 0, -1);
        row("start at the length", u"{}"_s, 2, -1);
        row("start after the length", u"{}"_s, 9, -1);
        row("empty text", u""_s, 0, -1);
        row("brace in quotes counts", u"{\"}\"}"_s, 0, 2);
        row("escaped brace counts", u"{\\}}"_s, 0, 2);
        row("starting at no brace", u"ab{}"_s, 0, 3);
        row("no brace at all", u"abc"_s, 0, -1);
        row("starting at a closing brace", u"}{}"_s, 0, -1);
        row("from below zero up and back to zero", u"}{{}"_s, 0, 3);
        row("zero is met by a closing brace only", u"}{{}}"_s, 0, 3);
        row("bytes beyond ASCII are passed over", u"{ä🎮}"_s, 0, 7);
    }
    void matchingBrace()
    {
        QFETCH(QString, text);
        QFETCH(qsizetype, start);
        QTEST(steam::matchingBrace(bytesOf(text), start), "close");
    }

    void appsSection_data()
    {
        QTest::addColumn<QString>("marked");
        const auto row = [](const char *name, const QString &marked) {
            QTest::newRow(name) << marked;
        };
        row("no apps key", u"\"app\" { } \"Steam\" { }"_s);
        row("empty text", u""_s);
        row("plain", u"\"Steam\"\n{\n\t\"apps\"\n\t«{\n\t\t\"10\"\n\t\t{\n\t\t}\n\t»}\n}\n"_s);
        row("no space before the brace", u"\"apps\"«{»}"_s);
        row("all six blanks before the brace", u"\"apps\" \t\n\v\f\r«{»}"_s);
        row("no-break space is no blank", u"\"apps\"\u00a0{}"_s);
        row("next line is no blank", u"\"apps\"\u0085{}"_s);
        row("line separator is no blank", u"\"apps\"\u2028{}"_s);
        row("zero-width space is no blank", u"\"apps\"\u200b{}"_s);
        row("Apps", u"\"Apps\" { }"_s);
        row("APPS", u"\"APPS\" { }"_s);
        row("longer key", u"\"apps2\" { } \"myapps\" { }"_s);
        row("key without quotes", u"apps { }"_s);
        row("a value instead of a block", u"\"apps\" \"1\" { }"_s);
        row("the second is larger", u"\"apps\" { } \"apps\" «{ \"10\" { } »}"_s);
        row("the first is larger", u"\"apps\" «{ \"10\" { } »} \"apps\" { }"_s);
        row("of two equals the first", u"\"apps\" «{ \"10\" { } »} \"apps\" { \"20\" { } }"_s);
        row("of three the largest", u"\"apps\" { } \"apps\" «{ 12345 »} \"apps\" { 123 }"_s);
        row("size counts, not content",
            u"\"apps\" { \"10\" { } } \"apps\" «{                    »}"_s);
        row("the first never closes", u"\"apps\" { \"apps\" «{ »}"_s);
        row("none ever closes", u"\"apps\" { \"10\" { }"_s);
        row("one inside another", u"\"apps\" «{ \"apps\" { } »}"_s);
        row("letters count, not their bytes", u"\"apps\" { äöü🎮 } \"apps\" «{ letters »}"_s);
        row("of equals the first, whatever its bytes", u"\"apps\" «{ abc »} \"apps\" { äöü }"_s);
        row("more bytes and letters", u"\"apps\" «{ äöüä »} \"apps\" { abc }"_s);
        row("a pair of units each", u"\"apps\" { 🎮🎮 } \"apps\" «{ 12345 »}"_s);
        row("behind letters of many bytes", u"\ufeffä🎮 \"apps\" «{ ä »} ä"_s);
        row("brace in a value ends it early", u"\"apps\" «{ \"10\" { \"x\" \"}\" »} }"_s);
        row("brace in a value ends it late", u"\"apps\" «{ \"10\" { \"x\" \"{\" } } »}"_s);
        row("key in a value counts", u"\"x\" \"y \"apps\" «{ »}"_s);
    }
    void appsSection()
    {
        QFETCH(QString, marked);
        const auto [text, span] = unmark(marked);
        const QByteArray utf8 = 'x' + bytesOf(text); // a mark at the very start would be left out
        const BraceSpan inBytes = decoded(steam::findAppsSection(utf8), utf8);
        QCOMPARE(inBytes.open, span.isValid() ? span.open + 1 : -1);
        QCOMPARE(inBytes.close, span.isValid() ? span.close + 1 : -1);
    }

    void appBlock_data()
    {
        QTest::addColumn<QString>("marked");
        QTest::addColumn<QString>("appid");
        const auto row = [](const char *name, const QString &marked,
                            const QString &appid = u"10"_s) {
            QTest::newRow(name) << marked << appid;
        };
        row("direct child", u"\"apps\" { \"10\" «{ »} }"_s);
        row("no space before the brace", u"\"apps\"{\"10\"«{»}}"_s);
        row("all six blanks before the brace", u"\"apps\"{\"10\" \t\n\v\f\r«{»}}"_s);
        row("no-break space is no blank", u"\"apps\"{\"10\"\u00a0{}}"_s);
        row("another app only", u"\"apps\" { \"20\" { } }"_s);
        row("key without quotes", u"\"apps\" {10 { } }"_s);
        row("key without its first quote", u"\"apps\" {10\" { } }"_s);
        row("key with another mark at its end", u"\"apps\" {\"10' { } }"_s);
        row("the second app", u"\"apps\" { \"10\" { } \"20\" «{ »} }"_s, u"20"_s);
        row("100 is not 10", u"\"apps\" { \"100\" { } }"_s);
        row("110 is not 10", u"\"apps\" { \"110\" { } }"_s);
        row("100 before 10", u"\"apps\" { \"100\" { } \"10\" «{ »} }"_s);
        row("10 is not 100", u"\"apps\" { \"10\" { } }"_s, u"100"_s);
        row("before the section", u"\"10\" { } \"apps\" { }"_s);
        row("before the section and in it", u"\"10\" { } \"apps\" { \"10\" «{ »} }"_s);
        row("after the section", u"\"apps\" { } \"10\" { }"_s);
        row("around the section", u"\"10\" { \"apps\" { } }"_s);
        row("a value before the block", u"\"apps\" { \"10\" \"1\" \"10\" «{ »} }"_s);
        row("the first of two", u"\"apps\" { \"10\" «{ »} \"10\" { x } }"_s);
        row("at any depth", u"\"apps\" { \"20\" { \"10\" «{ »} } \"10\" { } }"_s);
    }
    void appBlock()
    {
        QFETCH(QString, marked);
        QFETCH(QString, appid);
        const auto [text, span] = unmark(marked);
        const QByteArray utf8 = bytesOf(text);
        const BraceSpan inBytes =
            decoded(steam::findAppBlock(utf8, steam::findAppsSection(utf8), appid), utf8);
        QCOMPARE(inBytes.open, span.open);
        QCOMPARE(inBytes.close, span.close);
    }

    void noAppBlockWithoutASection()
    {
        const BraceSpan found = steam::findAppBlock("\"10\" { }", BraceSpan{}, u"10"_s);
        QVERIFY(!found.isValid());
    }

    void appBlockInsideGivenBounds_data()
    {
        // "[" and "]" stand before the first and the last unit of the section.
        QTest::addColumn<QString>("marked");
        const auto row = [](const char *name, const QString &marked) {
            QTest::newRow(name) << marked;
        };
        row("closes with the section's last unit", u"[{ \"10\" «{ ]»}"_s);
        row("closes behind the section", u"[{ \"10\" { ] }"_s);
        row("closes behind it, but the next does not", u"[{ \"10\" { \"10\" «{ ]»} }"_s);
        row("opens behind the section", u"[{ \"10\" ]} { }"_s);
        row("key behind the section", u"[{ ]} \"10\" { }"_s);
        row("key starts before the section", u"\"[10\" { ]} }"_s);
        row("key starts with the section", u"[\"10\" «{ »} ]}"_s);
    }
    void appBlockInsideGivenBounds()
    {
        QFETCH(QString, marked);
        const auto bare = [](QString text, QStringView marks) {
            text.removeIf([marks](QChar unit) { return marks.contains(unit); });
            return text;
        };
        const auto [text, span] = unmark(bare(marked, u"[]"));
        const auto position = [&](QChar mark) {
            return bare(marked.left(marked.indexOf(mark)), u"[]«»").size();
        };
        const BraceSpan section{position(u'['), position(u']')};
        const BraceSpan found = steam::findAppBlock(bytesOf(text), section, u"10"_s);
        QCOMPARE(found.open, span.open);
        QCOMPARE(found.close, span.close);
    }

    void appBlocksOfOneSection()
    {
        const QByteArray text = "\"apps\" { \"10\" { } \"20\" { \"10\" { } \"30\" { } } }";
        const steam::AppsSection section(text);
        QCOMPARE(section.block(u"10"_s).open, text.indexOf('{', 8));
        QCOMPARE(section.block(u"30"_s).open, text.lastIndexOf('{'));
        QVERIFY(!section.block(u"40"_s).isValid());
    }

    void launchOptions_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("options");
        const auto row = [](const char *name, const QString &text, const QString &options) {
            QTest::newRow(name) << text << options;
        };
        row("plain", u"\"apps\" { \"10\" { \"LaunchOptions\" \"-novid\" } }"_s, u"-novid"_s);
        row("no apps key", u"\"10\" { \"LaunchOptions\" \"-novid\" }"_s, u""_s);
        row("other app", u"\"apps\" { \"20\" { \"LaunchOptions\" \"-novid\" } }"_s, u""_s);
        row("no such line", u"\"apps\" { \"10\" { \"LastPlayed\" \"1\" } }"_s, u""_s);
        row("empty value", u"\"apps\" { \"10\" { \"LaunchOptions\" \"\" } }"_s, u""_s);
        row("launchoptions", u"\"apps\" { \"10\" { \"launchoptions\" \"x\" } }"_s, u""_s);
        row("the first of two",
            u"\"apps\" { \"10\" { \"LaunchOptions\" \"1\" \"LaunchOptions\" \"2\" } }"_s, u"1"_s);
        row("in a nested block first",
            u"\"apps\" { \"10\" { \"cloud\" { \"LaunchOptions\" \"1\" } \"LaunchOptions\" \"2\" } }"_s,
            u"1"_s);
        row("not of the next app", u"\"apps\" { \"10\" { } \"20\" { \"LaunchOptions\" \"x\" } }"_s,
            u""_s);
        row("escaped quote cuts behind the backslash",
            u"\"apps\" { \"10\" { \"LaunchOptions\" \"a \\\"b\\\" c\" } }"_s, u"a \\"_s);
        row("escapes stay", u"\"apps\" { \"10\" { \"LaunchOptions\" \"a\\\\b\\n\" } }"_s,
            u"a\\\\b\\n"_s);
        row("a section that does not close, another inside it that does",
            u"\"apps\" { \"10\" { \"x\" \"{\" } \"apps\" { \"10\" { \"LaunchOptions\" \"y\" } } }"_s,
            u"y"_s);
        row("brace in a value ends the block before the options",
            u"\"apps\" { \"10\" { \"x\" \"}\" \"LaunchOptions\" \"y\" } }"_s, u""_s);
        row("brace in a value hands on the options of the next app",
            u"\"apps\" { \"10\" { \"x\" \"{\" } \"20\" { \"LaunchOptions\" \"y\" } } }"_s, u"y"_s);
        row("blanks and line ends inside stay",
            u"\"apps\" { \"10\" { \"LaunchOptions\" \" a\r\n\tb \" } }"_s, u" a\r\n\tb "_s);
        row("letters beyond ASCII",
            u"\"apps\" { \"10\" { \"LaunchOptions\" \"Spiel Ü 🎮 \u2028\" } }"_s,
            u"Spiel Ü 🎮 \u2028"_s);
        row("a byte-order mark is a letter of the options",
            u"\"apps\" { \"10\" { \"LaunchOptions\" \"\ufeffx\" } }"_s, u"\ufeffx"_s);
        const auto value = [&](const char *name, const QString &content, const QString &options) {
            row(name, u"\"apps\" { \"10\" {"_s + content + u"} }"_s, options);
        };
        value("no space before the value", u"\"LaunchOptions\"\"x\""_s, u"x"_s);
        value("all six blanks before the value", u"\"LaunchOptions\" \t\n\v\f\r\"x\""_s, u"x"_s);
        value("no-break space is no blank", u"\"LaunchOptions\"\u00a0\"x\""_s, u""_s);
        value("next line is no blank", u"\"LaunchOptions\"\u0085\"x\""_s, u""_s);
        value("line separator is no blank", u"\"LaunchOptions\"\u2028\"x\""_s, u""_s);
        value("other letter case first", u"\"Launchoptions\" \"x\" \"LaunchOptions\" \"y\""_s,
              u"y"_s);
        value("a block instead of a value", u"\"LaunchOptions\" { } \"LaunchOptions\" \"y\""_s,
              u"y"_s);
        value("value over lines", u"\"LaunchOptions\" \"a\nb\""_s, u"a\nb"_s);
        value("the value is the next key", u"\"LaunchOptions\"\"LaunchOptions\"\"x\""_s,
              u"LaunchOptions"_s);
        row("key before the block", u"\"apps\" { \"LaunchOptions\" \"10\" { \"x\" \"y\" } }"_s,
            u""_s);
        row("value ends after the block", u"\"apps\" { \"10\" { \"LaunchOptions\" \"x}\" } }"_s,
            u""_s);
        row("value ends after the section", u"\"apps\" { \"10\" { \"LaunchOptions\" \"x} }\""_s,
            u""_s);
        row("value begins after the block", u"\"apps\" { \"10\" { \"LaunchOptions\" } \"x\" }"_s,
            u""_s);
        row("no quote after the value", u"\"apps\" { \"10\" { \"LaunchOptions\" \"x } }"_s, u""_s);
    }
    void launchOptions()
    {
        QFETCH(QString, text);
        QTEST(steam::readLaunchOptions(bytesOf(text), u"10"_s), "options");
    }
};

QTEST_GUILESS_MAIN(TestKeyValues)
#include "test_keyvalues.moc"
