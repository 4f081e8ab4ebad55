// SPDX-License-Identifier: MIT
// Several changes of one text: each is decided on the text as it was read.
#include "steam/launchoptionseditor.h"

#include <QTest>

using namespace Qt::StringLiterals;
using Changes = QList<steam::LaunchOptionsChange>;
using Refusals = QMap<QString, QString>;

class TestLaunchOptionsEditorLists : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void edit_data()
    {
        const QString failed = u"post-edit verification failed for "_s;
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<Changes>("changes");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<Refusals>("refusals");
        const auto row = [](const char *title, const QByteArray &before, const Changes &changes,
                            const QByteArray &after, const Refusals &refusals = {}) {
            QTest::newRow(title) << before << changes << after << refusals;
        };

        const QByteArray two =
            R"("apps" { "10" { "LaunchOptions" "a" } "20" { "LaunchOptions" "b" } })";
        row("two games, the later one first", two, {{u"20"_s, u"y"_s}, {u"10"_s, u"long"_s}},
            R"("apps" { "10" { "LaunchOptions" "long" } "20" { "LaunchOptions" "y" } })");
        row("refused ones do not keep the others from being made", two,
            {{u"10"_s, u"{"_s}, {u"30"_s, u"}"_s}, {u"40"_s, u"\""_s}, {u"20"_s, u"y"_s}},
            R"("apps" { "10" { "LaunchOptions" "a" } "20" { "LaunchOptions" "y" } })",
            {{u"10"_s, u"brace count changed; refusing to write"_s},
             {u"30"_s, failed + u"30"_s},
             {u"40"_s, u"options contain characters VDF cannot store unescaped"_s}});
        row("new blocks stand first, the last of the list before the others",
            "\"apps\"\n{\n\t\"10\" { \"LaunchOptions\" \"a\" }\n}",
            {{u"20"_s, u"x"_s}, {u"10"_s, u"z"_s}, {u"30"_s, u"y"_s}},
            "\"apps\"\n{\n"
            "\t\"30\"\n\t{\n\t\t\"LaunchOptions\"\t\t\"y\"\n\t}\n"
            "\t\"20\"\n\t{\n\t\t\"LaunchOptions\"\t\t\"x\"\n\t}\n"
            "\t\"10\" { \"LaunchOptions\" \"z\" }\n}");
        // The new line of the game 10 would show another indentation than the text as read.
        row("new blocks are indented as the section was when read",
            "\"apps\" {\n\"10\" {\n\t\"20\" \"\" } }", {{u"10"_s, u"a\n\t\t"_s}, {u"30"_s, u"x"_s}},
            "\"apps\" {\n\t\"30\"\n\t{\n\t\t\"LaunchOptions\"\t\t\"x\"\n\t}\n\"10\" {\n"
            "\t\"LaunchOptions\"\t\t\"a\n\t\t\"\n\t\"20\" \"\" } }");
        row("of blocks within each other the one that is listed first is edited",
            R"("apps" { "10" { "20" { "LaunchOptions" "a" } } "30" { "LaunchOptions" "b" } })",
            {{u"10"_s, u"x"_s}, {u"20"_s, u"x"_s}, {u"30"_s, u"y"_s}},
            R"("apps" { "10" { "20" { "LaunchOptions" "x" } } "30" { "LaunchOptions" "y" } })",
            {{u"20"_s, failed + u"20"_s}});
        row("also when that is the inner one",
            R"("apps" { "10" { "20" { "LaunchOptions" "a" } "30" { "LaunchOptions" "b" } } })",
            {{u"30"_s, u"y"_s}, {u"10"_s, u"x"_s}, {u"20"_s, u"z"_s}},
            R"("apps" { "10" { "20" { "LaunchOptions" "z" } "30" { "LaunchOptions" "y" } } })",
            {{u"10"_s, failed + u"10"_s}});
        row("a refused change refuses no other one",
            R"("apps" { "10" { "20" { "LaunchOptions" "a" } } })",
            {{u"10"_s, u"{}"_s}, {u"20"_s, u"x"_s}},
            R"("apps" { "10" { "20" { "LaunchOptions" "x" } } })",
            {{u"10"_s, u"brace count changed; refusing to write"_s}});
        const QByteArray small = R"("apps" { "10" { "k" "v" } "20" { "k" "v" } "30" { "k" "v" } })";
        row("of two sections the largest is edited", small + two,
            {{u"10"_s, u"x"_s}, {u"20"_s, u"y"_s}},
            small + R"("apps" { "10" { "LaunchOptions" "x" } "20" { "LaunchOptions" "y" } })");
        // Both changes would make the second section the largest, in which the game 20 has "bb".
        row("what does not read back is refused, and the rest is made",
            R"("apps" { "10" { "LaunchOptions" "12345" } "20" { "LaunchOptions" "123" } } )"
            R"("apps" { "10" { "LaunchOptions" "x" } "20" { "LaunchOptions" "bb" } })",
            {{u"10"_s, u"x"_s}, {u"20"_s, u"y"_s}},
            R"("apps" { "10" { "LaunchOptions" "x" } "20" { "LaunchOptions" "123" } } )"
            R"("apps" { "10" { "LaunchOptions" "x" } "20" { "LaunchOptions" "bb" } })",
            {{u"20"_s, failed + u"20"_s}});
    }

    void edit()
    {
        QFETCH(QByteArray, before);
        QFETCH(Changes, changes);
        QFETCH(QByteArray, after);
        QFETCH(Refusals, refusals);
        const steam::EditedText edited = steam::editLaunchOptions(before, changes);
        QCOMPARE(edited.bytes, after);
        QCOMPARE(edited.refusals, refusals);
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsEditorLists)
#include "test_launchoptionseditor_lists.moc"
