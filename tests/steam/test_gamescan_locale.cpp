// SPDX-License-Identifier: MIT
// The locale is fixed at the start of a process, so this test is run once for each LC_ALL of its
// table: German and Swedish put "Ä" in different places, and plain code points put every capital
// letter before every small one.
#include "steam/gamescan.h"

#include "support/pretendmachine.h"

#include <QTest>

using namespace Qt::StringLiterals;
using support::PretendMachine;

class TestGameScanLocale : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void namesAreSortedAsTheUserSorts()
    {
        const QMap<QByteArray, QStringList> expected{
            {"de_DE.UTF-8", {u"anno"_s, u"Ärger"_s, u"Bravo"_s, u"Echo"_s, u"éclair"_s, u"Zulu"_s}},
            {"sv_SE.UTF-8", {u"anno"_s, u"Bravo"_s, u"Echo"_s, u"éclair"_s, u"Zulu"_s, u"Ärger"_s}},
            {"C.UTF-8", {u"Bravo"_s, u"Echo"_s, u"Zulu"_s, u"anno"_s, u"Ärger"_s, u"éclair"_s}},
        };
        const QByteArray locale = qgetenv("LC_ALL");
        QVERIFY2(expected.contains(locale), "LC_ALL is none of the locales of this test");

        PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"1"_s, u"Zulu"_s);
        machine.addGame(u"2"_s, u"Ärger"_s);
        machine.addGame(u"3"_s, u"anno"_s);
        machine.addGame(u"4"_s, u"Bravo"_s);
        machine.addGame(u"5"_s, u"éclair"_s);
        machine.addGame(u"6"_s, u"Echo"_s);
        QStringList names;
        for (const steam::GameEntry &game : steam::scanGames())
            names.append(game.name);
        QCOMPARE(names, expected[locale]);
    }
};

QTEST_GUILESS_MAIN(TestGameScanLocale)
#include "test_gamescan_locale.moc"
