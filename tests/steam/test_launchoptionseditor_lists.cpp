// SPDX-License-Identifier: MIT
// Several changes of one text: as if each were made on what those before it left.
#include "steam/launchoptionseditor.h"

#include <QTest>

using namespace Qt::StringLiterals;
using Changes = QList<steam::LaunchOptionsChange>;

class TestLaunchOptionsEditorLists : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void edit_data()
    {
        const QString cannotStore = u"options contain characters VDF cannot store unescaped"_s;
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<Changes>("changes");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<QStringList>("messages");

        const QByteArray two =
            R"("apps" { "10" { "LaunchOptions" "a" } "20" { "LaunchOptions" "b" } })";
        QTest::newRow("two games, the later one first")
            << two << Changes{{u"20"_s, u"y"_s}, {u"10"_s, u"long"_s}}
            << QByteArray(
                   R"("apps" { "10" { "LaunchOptions" "long" } "20" { "LaunchOptions" "y" } })")
            << QStringList{u""_s, u""_s};
        QTest::newRow("one refused, the others made")
            << two
            << Changes{{u"10"_s, u"x"_s}, {u"20"_s, u"\""_s}, {u"10"_s, u"{"_s}, {u"20"_s, u"y"_s}}
            << QByteArray(R"("apps" { "10" { "LaunchOptions" "x" } "20" { "LaunchOptions" "y" } })")
            << QStringList{u""_s, cannotStore, u"brace count changed; refusing to write"_s, u""_s};
        QTest::newRow("one game twice, with the same options")
            << two << Changes{{u"10"_s, u"z"_s}, {u"20"_s, u"y"_s}, {u"10"_s, u"z"_s}}
            << QByteArray(R"("apps" { "10" { "LaunchOptions" "z" } "20" { "LaunchOptions" "y" } })")
            << QStringList{u""_s, u""_s, u""_s};
        QTest::newRow("new blocks, each before the others")
            << QByteArray("\"apps\"\n{\n\t\"10\" { \"LaunchOptions\" \"a\" }\n}")
            << Changes{{u"20"_s, u"x"_s}, {u"10"_s, u"z"_s}, {u"30"_s, u"y"_s}}
            << QByteArray("\"apps\"\n{\n"
                          "\t\"30\"\n\t{\n\t\t\"LaunchOptions\"\t\t\"y\"\n\t}\n"
                          "\t\"20\"\n\t{\n\t\t\"LaunchOptions\"\t\t\"x\"\n\t}\n"
                          "\t\"10\" { \"LaunchOptions\" \"z\" }\n}")
            << QStringList{u""_s, u""_s, u""_s};
        QTest::newRow("a new block twice, with the same options")
            << QByteArray(R"("apps" { })") << Changes{{u"20"_s, u"y"_s}, {u"20"_s, u"y"_s}}
            << QByteArray("\"apps\" {\n\t\t\t\t\t\"20\"\n\t\t\t\t\t{\n"
                          "\t\t\t\t\t\t\"LaunchOptions\"\t\t\"y\"\n\t\t\t\t\t} }")
            << QStringList{u""_s, u""_s};
        QTest::newRow("options with a brace, behind which nothing is sure")
            << QByteArray(R"("s" { "apps" { "10" { "LaunchOptions" "a" } } })")
            << Changes{{u"20"_s, u"{"_s}, {u"10"_s, u"x"_s}}
            << QByteArray("\"s\" { \"apps\" {\n\t\t\t\t\t\"20\"\n\t\t\t\t\t{\n"
                          "\t\t\t\t\t\t\"LaunchOptions\"\t\t\"{\"\n\t\t\t\t\t}"
                          " \"10\" { \"LaunchOptions\" \"a\" } } }")
            << QStringList{u""_s, u"post-edit verification failed for 10"_s};
        QTest::newRow("a game in another's block, with the same options")
            << QByteArray(R"("apps" { "10" { "20" { "LaunchOptions" "a" } } })")
            << Changes{{u"10"_s, u"x"_s}, {u"20"_s, u"x"_s}}
            << QByteArray(R"("apps" { "10" { "20" { "LaunchOptions" "x" } } })")
            << QStringList{u""_s, u""_s};
        QTest::newRow("a first change that makes another section the largest")
            << QByteArray(
                   R"("apps" { "10" { "LaunchOptions" "x" } "20" { "LaunchOptions" "y" } } )"
                   R"("apps" { "10" { "LaunchOptions" "xyz" } "20" { "LaunchOptions" "b" } })")
            << Changes{{u"10"_s, u"x"_s}, {u"20"_s, u"y"_s}}
            << QByteArray(R"("apps" { "10" { "LaunchOptions" "x" } "20" { "LaunchOptions" "y" } } )"
                          R"("apps" { "10" { "LaunchOptions" "x" } "20" { "LaunchOptions" "b" } })")
            << QStringList{u""_s, u""_s};
    }

    void edit()
    {
        QFETCH(QByteArray, before);
        QFETCH(Changes, changes);
        QFETCH(QByteArray, after);
        QFETCH(QStringList, messages);
        const steam::EditedText edited = steam::editLaunchOptions(before, changes);
        QCOMPARE(edited.bytes, after);
        QStringList told;
        for (const steam::EditOutcome &outcome : edited.outcomes)
            told.append(outcome.message);
        QCOMPARE(told, messages);
    }
};

QTEST_GUILESS_MAIN(TestLaunchOptionsEditorLists)
#include "test_launchoptionseditor_lists.moc"
