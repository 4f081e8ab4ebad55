// SPDX-License-Identifier: MIT
#include "steam/keyvalues.h"

#include <QTest>

using namespace Qt::StringLiterals;
using steam::BraceSpan;

// In these texts "«" marks the expected "{", and "»" the expected "}". The marks are taken out
// before the text is searched.

namespace
{

/// Takes the mark out of the text. Returns its position, counted in bytes; -1 without a mark.
qsizetype takeOut(QChar mark, QString &text)
{
    const qsizetype at = text.indexOf(mark);
    if (at < 0)
        return -1;
    text.remove(at, 1);
    return text.first(at).toUtf8().size();
}

struct Marked {
    QByteArray text;
    BraceSpan span;
};

Marked unmark(QString text)
{
    const qsizetype open = takeOut(u'«', text);
    const qsizetype close = takeOut(u'»', text);
    return {text.toUtf8(), {open, close}};
}

} // namespace

class TestKeyValues : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void closingBrace_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<qsizetype>("start");
        QTest::addColumn<qsizetype>("close");
        const auto row = [](const char *name, const QString &text, qsizetype start,
                            qsizetype close) { QTest::newRow(name) << text << start << close; };
        row("of an empty block", u"{}"_s, 0, 1);
        row("of an outer block", u"{{}{}}"_s, 0, 5);
        row("of an inner block", u"{{}{}}"_s, 3, 4);
        row("none of a block that does not end", u"{{}"_s, 0, -1);
        row("none at the text's end", u"{}"_s, 2, -1);
        row("none after the text's end", u"{}"_s, 9, -1);
        row("in quotes", u"{\"}\"}"_s, 0, 2);
        row("after a backslash", u"{\\}}"_s, 0, 2);
        row("of the next block, from other text", u"ab{}"_s, 0, 3);
        row("none where depth is below zero", u"}{}"_s, 0, -1);
        row("where depth rises back to zero: of the next block", u"}{{}}"_s, 0, 3);
        row("counted in bytes", u"{ä🎮}"_s, 0, 7);
    }
    void closingBrace()
    {
        QFETCH(QString, text);
        QFETCH(qsizetype, start);
        QTEST(steam::matchingBrace(text.toUtf8(), start), "close");
    }

    void appsSection_data()
    {
        QTest::addColumn<QString>("marked");
        const auto row = [](const char *name, const QString &marked) {
            QTest::newRow(name) << marked;
        };
        row("as Steam writes it",
            u"\"Steam\"\n{\n\t\"apps\"\n\t«{\n\t\t\"10\"\n\t\t{\n\t\t}\n\t»}\n}\n"_s);
        row("no space before the brace", u"\"apps\"«{»}"_s);
        row("all six kinds of white space before the brace", u"\"apps\" \t\n\v\f\r«{»}"_s);
        row("a no-break space is no white space", u"\"apps\"\u00a0{}"_s);
        row("nor is a line separator", u"\"apps\"\u2028{}"_s);
        row("nor is a control character", u"\"apps\"\x1f{}"_s);
        row("none in an empty text", u""_s);
        row("none by a capital letter", u"\"Apps\" { }"_s);
        row("none by a longer key", u"\"apps2\" { } \"myapps\" { }"_s);
        row("none by a key without quotes", u"apps { }"_s);
        row("none by a value", u"\"apps\" \"1\" { }"_s);
        row("the second if it is larger", u"\"apps\" { } \"apps\" «{ \"10\" { } »}"_s);
        row("the first if it is larger", u"\"apps\" «{ \"10\" { } »} \"apps\" { }"_s);
        row("the first of two equals", u"\"apps\" «{ \"10\" { } »} \"apps\" { \"20\" { } }"_s);
        row("the largest of three", u"\"apps\" { } \"apps\" «{ 12345 »} \"apps\" { 123 }"_s);
        row("the outer of two", u"\"apps\" «{ \"apps\" { } »}"_s);
        row("the one that ends", u"\"apps\" { \"apps\" «{ »}"_s);
        row("none that ends", u"\"apps\" { \"10\" { }"_s);
        row("the one with more letters, not bytes", u"\"apps\" { äöü🎮 } \"apps\" «{ letters »}"_s);
        row("nor is it the one with nearly three times the bytes",
            u"\"apps\"{€€€€€€€€€€€€} \"apps\"«{1234567890123»}"_s);
        row("the first of equals with more bytes", u"\"apps\" «{ abc »} \"apps\" { äöü }"_s);
        row("a letter beyond 16 bits counts as two", u"\"apps\" { 123 } \"apps\" «{ 🎮🎮 »}"_s);
        row("ends at a brace in a value", u"\"apps\" «{ \"10\" { \"x\" \"}\" »} }"_s);
        row("ends late for a brace in a value", u"\"apps\" «{ \"10\" { \"x\" \"{\" } } »}"_s);
        row("begins at a key in a value", u"\"x\" \"y \"apps\" «{ »}"_s);
    }
    void appsSection()
    {
        QFETCH(QString, marked);
        const auto [text, span] = unmark(marked);
        const BraceSpan found = steam::findAppsSection(text);
        QCOMPARE(found.open, span.open);
        QCOMPARE(found.close, span.close);
    }

    void appBlock_data()
    {
        QTest::addColumn<QString>("marked"); // where it has them, "[" and "]" mark the section
        const auto row = [](const char *name, const QString &marked) {
            QTest::newRow(name) << marked;
        };
        row("a child of the section", u"\"apps\" { \"10\" «{ »} }"_s);
        row("no space before the brace", u"\"apps\"{\"10\"«{»}}"_s);
        row("all six kinds of white space before it", u"\"apps\"{\"10\" \t\n\v\f\r«{»}}"_s);
        row("a no-break space is no white space", u"\"apps\"{\"10\"\u00a0{}}"_s);
        row("none by a key without quotes", u"\"apps\" {10 { } }"_s);
        row("none by a key without its first quote", u"\"apps\" {10\" { } }"_s);
        row("none by a key with another mark at its end", u"\"apps\" {\"10' { } }"_s);
        row("not that of 100 or 110", u"\"apps\" { \"100\" { } \"110\" { } \"10\" «{ »} }"_s);
        row("not one before the section", u"\"10\" { } \"apps\" { \"10\" «{ »} }"_s);
        row("not one after the section", u"\"apps\" { } \"10\" { }"_s);
        row("not one around the section", u"\"10\" { \"apps\" { } }"_s);
        row("not a value before it", u"\"apps\" { \"10\" \"1\" \"10\" «{ »} }"_s);
        row("the first of two", u"\"apps\" { \"10\" «{ »} \"10\" { x } }"_s);
        row("at any depth", u"\"apps\" { \"20\" { \"10\" «{ »} } \"10\" { } }"_s);
        row("the outer of two", u"\"apps\" { \"10\" «{ \"10\" { } »} }"_s);
        row("none without a section", u"\"10\" { }"_s);
        row("ends with the section's last byte", u"[{ \"10\" «{ ]»}"_s);
        row("none that ends after the section", u"[{ \"10\" { ] }"_s);
        row("the next, if the first ends after the section", u"[{ \"10\" { \"10\" «{ ]»} }"_s);
        row("none that opens after the section", u"[{ \"10\" ]} { }"_s);
        row("none whose key begins before the section", u"\"[10\" { ]} }"_s);
        row("its key is the section's first byte", u"[\"10\" «{ »} ]}"_s);
    }
    void appBlock()
    {
        QFETCH(QString, marked);
        const bool isBounded = marked.contains(u'[');
        QString bare = QString(marked).remove(u'«').remove(u'»');
        const BraceSpan bounds{takeOut(u'[', bare), takeOut(u']', bare)};
        const auto [text, span] = unmark(marked.remove(u'[').remove(u']'));
        const BraceSpan found =
            steam::findAppBlock(text, isBounded ? bounds : steam::findAppsSection(text), u"10"_s);
        QCOMPARE(found.open, span.open);
        QCOMPARE(found.close, span.close);
    }

    void blocksOfSeveralGames()
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
        QTest::addColumn<QString>("options"); // of the game 10
        const auto row = [](const char *name, const QString &text, const QString &options) {
            QTest::newRow(name) << text << options;
        };
        const auto inBlock = [&](const char *name, const QString &content, const QString &options) {
            row(name, u"\"apps\" { \"10\" {"_s + content + u"} }"_s, options);
        };
        row("none without a section", u"\"10\" { \"LaunchOptions\" \"-novid\" }"_s, u""_s);
        row("none of the next game",
            u"\"apps\" { \"10\" { } \"20\" { \"LaunchOptions\" \"x\" } }"_s, u""_s);
        inBlock("none without the key", u"\"LastPlayed\" \"1\""_s, u""_s);
        inBlock("an empty value", u"\"LaunchOptions\" \"\""_s, u""_s);
        inBlock("not the key in other letter case",
                u"\"Launchoptions\" \"x\" \"LaunchOptions\" \"y\""_s, u"y"_s);
        inBlock("the first, also in a nested block",
                u"\"cloud\" { \"LaunchOptions\" \"1\" } \"LaunchOptions\" \"2\""_s, u"1"_s);
        inBlock("cut after the backslash of an escaped quote",
                u"\"LaunchOptions\" \"a \\\"b\\\" c\""_s, u"a \\"_s);
        inBlock("escapes stay", u"\"LaunchOptions\" \"a\\\\b\\n\""_s, u"a\\\\b\\n"_s);
        inBlock("white space and line ends inside stay", u"\"LaunchOptions\" \" a\r\n\tb \""_s,
                u" a\r\n\tb "_s);
        inBlock("letters beyond ASCII", u"\"LaunchOptions\" \"Spiel Ü 🎮 \u2028\""_s,
                u"Spiel Ü 🎮 \u2028"_s);
        inBlock("a byte-order mark at the start", u"\"LaunchOptions\" \"\ufeffx\""_s, u"\ufeffx"_s);
        inBlock("no space before the value", u"\"LaunchOptions\"\"x\""_s, u"x"_s);
        inBlock("all six kinds of white space before it", u"\"LaunchOptions\" \t\n\v\f\r\"x\""_s,
                u"x"_s);
        inBlock("a no-break space is no white space", u"\"LaunchOptions\"\u00a0\"x\""_s, u""_s);
        inBlock("not a block by that key", u"\"LaunchOptions\" { } \"LaunchOptions\" \"y\""_s,
                u"y"_s);
        inBlock("a value that is the key's name", u"\"LaunchOptions\"\"LaunchOptions\"\"x\""_s,
                u"LaunchOptions"_s);
        row("none after a brace in a value, which ends the block",
            u"\"apps\" { \"10\" { \"x\" \"}\" \"LaunchOptions\" \"y\" } }"_s, u""_s);
        row("of the next game, after a brace in a value",
            u"\"apps\" { \"10\" { \"x\" \"{\" } \"20\" { \"LaunchOptions\" \"y\" } } }"_s, u"y"_s);
        row("of the section within one that does not end",
            u"\"apps\" { \"10\" { \"x\" \"{\" } \"apps\" { \"10\" { \"LaunchOptions\" \"y\" } } }"_s,
            u"y"_s);
        row("none whose key stands before the block",
            u"\"apps\" { \"LaunchOptions\" \"10\" { \"x\" \"y\" } }"_s, u""_s);
        row("none that ends after the block", u"\"apps\" { \"10\" { \"LaunchOptions\" \"x}\" } }"_s,
            u""_s);
        row("none that begins after the block",
            u"\"apps\" { \"10\" { \"LaunchOptions\" } \"x\" }"_s, u""_s);
        row("none that never ends", u"\"apps\" { \"10\" { \"LaunchOptions\" \"x } }"_s, u""_s);
    }
    void launchOptions()
    {
        QFETCH(QString, text);
        QTEST(steam::readLaunchOptions(text.toUtf8(), u"10"_s), "options");
    }
};

QTEST_GUILESS_MAIN(TestKeyValues)
#include "test_keyvalues.moc"
