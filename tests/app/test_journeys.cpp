// SPDX-License-Identifier: MIT
#include "journey.h"

#include <QTest>

using namespace Qt::StringLiterals;

// Random walks of a user through the window: after each step everything that is seen, Steam's file,
// its backups and the store are what the model says.
//
// The seeds are fixed; MARROWPULSE_LONG=1 takes more of them, MARROWPULSE_SEED=n only that one.
class TestJourneys : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyStepDoesWhatTheModelSays_data()
    {
        QTest::addColumn<unsigned>("seed");
        if (qEnvironmentVariableIsSet("MARROWPULSE_SEED")) {
            const auto seed = unsigned(qEnvironmentVariableIntValue("MARROWPULSE_SEED"));
            QTest::addRow("seed %u", seed) << seed;
            return;
        }
        const unsigned journeys = qgetenv("MARROWPULSE_LONG") == "1" ? 90 : 12;
        for (unsigned seed = 1; seed <= journeys; ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void everyStepDoesWhatTheModelSays()
    {
        constexpr int stepsOfAJourney = 60;
        QFETCH(const unsigned, seed);
        Journey journey(seed);
        for (int i = 0; i <= stepsOfAJourney; ++i) {
            const QStringList differences = journey.differences();
            if (!differences.isEmpty())
                QFAIL(qPrintable(u"MARROWPULSE_SEED=%1\n%2\nafter step %3:\n%4"_s.arg(
                    QString::number(seed), journey.story(), QString::number(i),
                    differences.join(u'\n'))));
            if (i < stepsOfAJourney)
                journey.step();
        }
    }
};

QTEST_MAIN(TestJourneys)
#include "test_journeys.moc"
