// SPDX-License-Identifier: MIT
// Which bytes an edit makes of which, and which changes are refused.
#include "steam/launchoptionseditor.h"

#include "steam/keyvalues.h"
#include "support/scratchfile.h"

#include <QTest>

using namespace Qt::StringLiterals;
using support::ScratchFile;
using Changes = QList<steam::LaunchOptionsChange>;
using Refusals = QMap<QString, QString>;

namespace
{

// The messages.
const QString characters = u"options contain characters VDF cannot store unescaped"_s;
const QString section = u"no apps section found"_s;
const QString indentation = u"cannot determine indentation for 620"_s;
const QString braces = u"brace count changed; refusing to write"_s;
const QString failed = u"post-edit verification failed for "_s; ///< before the app id

QByteArray golden(const QString &name)
{
    return ScratchFile::readFrom(QStringLiteral(GOLDEN_FILES "/") + name);
}

// In the texts of this file "'" stands for a double quote: row() replaces it.

/// A file whose only game, 620, has this in its block.
QByteArray block(const QByteArray &content)
{
    return "'apps' { '620' { " + content + " } }";
}

/// A file whose only game, 620, has these options.
QByteArray value(const QByteArray &options)
{
    return block("'LaunchOptions' '" + options + "'");
}

/// A row for check(): the changes of a text, and what comes of them.
void row(const char *title, const QByteArray &before, const Changes &changes,
         const QByteArray &after, const Refusals &refusals = {})
{
    QTest::newRow(title) << QByteArray(before).replace('\'', '"') << changes
                         << QByteArray(after).replace('\'', '"') << refusals;
}

/// A row for a change of the game 620 that is refused.
void refusedRow(const char *title, const QByteArray &text, const QString &options,
                const QString &message)
{
    row(title, text, {{u"620"_s, options}}, text, {{u"620"_s, message}});
}

void addColumns()
{
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<Changes>("changes");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<Refusals>("refusals");
}

void check()
{
    QFETCH(const QByteArray, before);
    QFETCH(const Changes, changes);
    const steam::EditedText edited = steam::editLaunchOptions(steam::AppsSection(before), changes);
    QTEST(edited.bytes, "after");
    QTEST(edited.refusals, "refusals");
}

} // namespace

class TestLaunchOptionsEditor : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// golden/NAME/before.vdf becomes after.vdf, which has the new options of the game 620.
    void editsOfWholeFiles_data()
    {
        QTest::addColumn<QString>("name");
        const QDir folder(QStringLiteral(GOLDEN_FILES));
        const QStringList pairs = folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        QVERIFY(!pairs.isEmpty());
        for (const QString &name : pairs)
            QTest::newRow(qPrintable(name)) << name;
    }
    void editsOfWholeFiles()
    {
        QFETCH(QString, name);
        const QByteArray after = golden(name + "/after.vdf"_L1);
        QByteArray bytes = golden(name + "/before.vdf"_L1);
        for (int time = 0; time < 2; ++time) { // the second edit changes nothing
            const QString options = steam::readLaunchOptions(after, u"620"_s);
            const steam::EditedText edited =
                steam::editLaunchOptions(steam::AppsSection(bytes), {{u"620"_s, options}});
            QCOMPARE(edited.refusals, Refusals());
            QCOMPARE(edited.bytes, after);
            bytes = edited.bytes;
        }
    }

    void onlyTheValueIsReplaced_data()
    {
        addColumns();
        const auto edited = [](const char *title, const QByteArray &marked,
                               const QString &options = u"new"_s) { // "~" stands for the value
            row(title, QByteArray(marked).replace("~", "old"), {{u"620"_s, options}},
                QByteArray(marked).replace("~", options.toUtf8()));
        };
        edited("beside a pair of braces in another value of the block",
               block("'k' '{}' 'LaunchOptions' '~'"));
        edited("beside a pair of braces in another value of the section",
               "'apps' { 'k' '{}' '620' { 'LaunchOptions' '~' } }");
        edited("after an opening brace in a value before the section", "'k' '{' " + value("~"));
        edited("before a closing brace in a value after the section", value("~") + " 'k' '}'");
        edited("after a quote that does not end before the section", "'k " + value("~"));
        edited("beside an escaped quote in another value",
               block("'k' 'a \\'b' 'LaunchOptions' '~'"));
        edited("beside an escaped backslash at another value's end",
               block("'k' 'C:\\\\' 'LaunchOptions' '~'"));
        edited("by a byte-order mark alone", value("~"), u"\ufeff"_s);
        edited("by the replacement character", value("~"), u"\ufffd"_s);
        edited("between line ends of another system",
               "'apps'\r\n{\r\n\t'620'\r\n\t{\r\n\t\t'LaunchOptions'\t\t'~'\r\n\t}\r\n}\r\n");
        row("though the old one says LaunchOptions",
            block("'LaunchOptions' 'LaunchOptions' 'k' 'v'"), {{u"620"_s, u"new"_s}},
            block("'LaunchOptions' 'new' 'k' 'v'"));
        row("a new block has plain line ends among those of another system",
            "'apps'\r\n{\r\n\t'620'\r\n\t{\r\n\t}\r\n}\r\n", {{u"730"_s, u"x"_s}},
            "'apps'\r\n{\n\t'730'\n\t{\n\t\t'LaunchOptions'\t\t'x'\n\t}\r\n"
            "\t'620'\r\n\t{\r\n\t}\r\n}\r\n");
    }
    void onlyTheValueIsReplaced() { check(); }

    void severalChanges_data()
    {
        addColumns();
        const QByteArray two =
            "'apps' { '10' { 'LaunchOptions' 'a' } '20' { 'LaunchOptions' 'b' } }";
        row("two games, the later one first", two, {{u"20"_s, u"y"_s}, {u"10"_s, u"long"_s}},
            "'apps' { '10' { 'LaunchOptions' 'long' } '20' { 'LaunchOptions' 'y' } }");
        row("a refusal leaves the other changes", two,
            {{u"10"_s, u"{"_s}, {u"30"_s, u"}"_s}, {u"40"_s, u"\""_s}, {u"20"_s, u"y"_s}},
            "'apps' { '10' { 'LaunchOptions' 'a' } '20' { 'LaunchOptions' 'y' } }",
            {{u"10"_s, braces}, {u"30"_s, failed + u"30"_s}, {u"40"_s, characters}});
        row("new blocks stand first, the last of the list before the others",
            "'apps'\n{\n\t'10' { 'LaunchOptions' 'a' }\n}",
            {{u"20"_s, u"x"_s}, {u"10"_s, u"z"_s}, {u"30"_s, u"y"_s}},
            "'apps'\n{\n"
            "\t'30'\n\t{\n\t\t'LaunchOptions'\t\t'y'\n\t}\n"
            "\t'20'\n\t{\n\t\t'LaunchOptions'\t\t'x'\n\t}\n"
            "\t'10' { 'LaunchOptions' 'z' }\n}");
        row("a new block is indented as a game's key, not as a number in another line",
            "'apps'\n{\n\t'k'\t\t\t'5'\n\t\t'10' { }\n}", {{u"20"_s, u"x"_s}},
            "'apps'\n{\n\t\t'20'\n\t\t{\n\t\t\t'LaunchOptions'\t\t'x'\n\t\t}\n"
            "\t'k'\t\t\t'5'\n\t\t'10' { }\n}");
        // The new line of the game 10 would show another indentation than the text as read.
        row("new blocks are indented as the section was when read",
            "'apps' {\n'10' {\n\t'20' '' } }", {{u"10"_s, u"a\n\t\t"_s}, {u"30"_s, u"x"_s}},
            "'apps' {\n\t'30'\n\t{\n\t\t'LaunchOptions'\t\t'x'\n\t}\n'10' {\n"
            "\t'LaunchOptions'\t\t'a\n\t\t'\n\t'20' '' } }");
        row("of blocks within each other the first of the list is edited: the outer one",
            "'apps' { '10' { '20' { 'LaunchOptions' 'a' } } '30' { 'LaunchOptions' 'b' } }",
            {{u"10"_s, u"x"_s}, {u"20"_s, u"x"_s}, {u"30"_s, u"y"_s}},
            "'apps' { '10' { '20' { 'LaunchOptions' 'x' } } '30' { 'LaunchOptions' 'y' } }",
            {{u"20"_s, failed + u"20"_s}});
        row("of blocks within each other the first of the list is edited: the inner ones",
            "'apps' { '10' { '20' { 'LaunchOptions' 'a' } '30' { 'LaunchOptions' 'b' } } }",
            {{u"30"_s, u"y"_s}, {u"10"_s, u"x"_s}, {u"20"_s, u"z"_s}},
            "'apps' { '10' { '20' { 'LaunchOptions' 'z' } '30' { 'LaunchOptions' 'y' } } }",
            {{u"10"_s, failed + u"10"_s}});
        row("a refused change of the outer block leaves the inner one's",
            "'apps' { '10' { '20' { 'LaunchOptions' 'a' } } }",
            {{u"10"_s, u"{}"_s}, {u"20"_s, u"x"_s}},
            "'apps' { '10' { '20' { 'LaunchOptions' 'x' } } }", {{u"10"_s, braces}});
        const QByteArray small = "'apps' { '10' { 'k' 'v' } '20' { 'k' 'v' } '30' { 'k' 'v' } }";
        row("of two sections the largest is edited", small + two,
            {{u"10"_s, u"x"_s}, {u"20"_s, u"y"_s}},
            small + "'apps' { '10' { 'LaunchOptions' 'x' } '20' { 'LaunchOptions' 'y' } }");
        // Both changes would make the second section the largest, in which the game 20 has "bb".
        row("a change that does not read back is refused, and the other is made",
            "'apps' { '10' { 'LaunchOptions' '12345' } '20' { 'LaunchOptions' '123' } } "
            "'apps' { '10' { 'LaunchOptions' 'x' } '20' { 'LaunchOptions' 'bb' } }",
            {{u"10"_s, u"x"_s}, {u"20"_s, u"y"_s}},
            "'apps' { '10' { 'LaunchOptions' 'x' } '20' { 'LaunchOptions' '123' } } "
            "'apps' { '10' { 'LaunchOptions' 'x' } '20' { 'LaunchOptions' 'bb' } }",
            {{u"20"_s, failed + u"20"_s}});
    }
    void severalChanges() { check(); }

    /// In the order of the checks: "also" marks a change that a later check would refuse, too.
    void changesThatAreRefused_data()
    {
        addColumns();
        refusedRow("a double quote, also without a section", "", u"a \"b\""_s, characters);
        refusedRow("a backslash", value("old"), u"C:\\x"_s, characters);

        refusedRow("an empty file", "", u"new"_s, section);
        refusedRow("no section, also a lone brace", "'Steam' { '620' { } }", u"{"_s, section);

        refusedRow("an empty block", "'apps'\n{\n\t'620'\n\t{\n\t}\n}\n", u""_s, indentation);
        refusedRow("a block in one line", block("'k' '1'"), u"new"_s, indentation);
        refusedRow("a blank after the brace", block("\n\t'k' '1'\n"), u"new"_s, indentation);
        refusedRow("line ends of another system", "'apps' {\r\n'620' {\r\n\t'k' '1'\r\n} }",
                   u"new"_s, indentation);
        refusedRow("a no-break space before the first key",
                   "'apps' { '620' {\n\xc2\xa0'k' '1'\n } }", u"new"_s, indentation);
        refusedRow("no indentation, also braces", block(""), u"{}"_s, indentation);

        refusedRow("a pair of braces for a value", value("old"), u"A={x}"_s, braces);
        refusedRow("a pair of braces for a new line",
                   "'apps'\n{\n\t'620'\n\t{\n\t\t'k' '1'\n\t}\n}\n", u"A={x}"_s, braces);
        refusedRow("a closing brace", value("old"), u"}"_s, braces);
        refusedRow("an old value with braces", value("{}"), u"new"_s, braces);
        refusedRow("an opening brace for a closing one", value("{ }"), u"{ {"_s, braces);
        refusedRow("braces, also an old value with escaped quotes", value("a \\'b\\'"), u"{}"_s,
                   braces);

        const QByteArray noBlock = "'apps'\n{\n}\n";
        const QString doubt = failed + u"620"_s;
        refusedRow("a closing brace in a new block", noBlock, u"}"_s, doubt);
        refusedRow("a closing brace before the opening one in a new block", noBlock, u"}{"_s,
                   doubt);
        // It would read back, and put every later edit in doubt.
        refusedRow("an opening brace in a new block of an inner section",
                   "'s'\n{\n" + noBlock + "}\n", u"a{b"_s, doubt);
        refusedRow("braces in the wrong order for a pair", value("{}"), u"}{"_s, doubt);
        refusedRow("the first half of a surrogate pair alone", value("old"), QChar(0xd83c), doubt);
        refusedRow("the second half alone, in a new block", noBlock, QChar(0xdfae), doubt);
        refusedRow("an old value that ends at an escaped quote", value("a \\'b\\' c"), u"new"_s,
                   doubt);
        refusedRow("three backslashes before the quote", value("a\\\\\\'b"), u"new"_s, doubt);
        refusedRow("the first of two values ends at an escaped quote",
                   block("'LaunchOptions' 'b\\'' 'LaunchOptions' 'a'"), u"new"_s, doubt);
        refusedRow("the second of two values ends at an escaped quote",
                   block("'LaunchOptions' 'a' 'LaunchOptions' 'b\\''"), u"new"_s, doubt);
        refusedRow("an old value that is no UTF-8", value("J\xf6rg"), u"new"_s, doubt);
        refusedRow("a second old value that is no UTF-8",
                   block("'LaunchOptions' 'a' 'LaunchOptions' '\xc3'"), u"new"_s, doubt);

        // Braces in quotes: Steam does not count them, the program does.
        refusedRow("a closing brace in the game's own options",
                   "'apps' { '620' {\n'LaunchOptions' 'say :}'\n} }", u"new"_s, doubt);
        refusedRow("a closing brace in the options of a game before it",
                   "'apps' { '10' { 'LaunchOptions' ':}' } '620' { 'LaunchOptions' 'a' } }",
                   u"new"_s, doubt);
        refusedRow("a closing brace in the options of a game after it",
                   "'apps' { '620' { 'LaunchOptions' 'a' } '700' { 'LaunchOptions' ':}' } }",
                   u"new"_s, doubt);
        refusedRow("an opening brace that leads to another game's options",
                   "'apps' { '620' { 'note' ':{' } '700' { 'LaunchOptions' 'a' } } }", u"new"_s,
                   doubt);
        refusedRow("a closing brace in quotes before a new block", "'apps' { '10' { 'note' '}' } }",
                   u"new"_s, doubt);
        refusedRow("a block that ends elsewhere in a section that does not",
                   "'apps' { '620' { 'a' '{' 'LaunchOptions' 'x' } 'b' '}' } } }", u"new"_s, doubt);

        // Keys and values: Steam takes them in turns, the program looks for one key.
        refusedRow("a value that says LaunchOptions, before another key",
                   block("\n'mode' 'LaunchOptions'\n'Playtime' '55'\n"), u"new"_s, doubt);
        refusedRow("the same beside a value",
                   block("'LaunchOptions' 'old' 'mode' 'LaunchOptions' 'Playtime' '55'"), u"new"_s,
                   doubt);
        refusedRow("a new line that would stand in a note", block("\r\n'note' 'a{\n'\r\n'b' '}'"),
                   u"new"_s, doubt);
        refusedRow("a value that is the key of a block", block("'LaunchOptions' 'x' { 'k' 'v' }"),
                   u"new"_s, doubt);
        refusedRow("the same, without a blank before the brace",
                   block("'LaunchOptions' 'x'{ 'k' 'v' }"), u"new"_s, doubt);
        refusedRow("a quote that does not end", block("'LaunchOptions' 'x' 'k"), u"new"_s, doubt);
    }
    void changesThatAreRefused() { check(); }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsEditor)
#include "test_launchoptionseditor.moc"
