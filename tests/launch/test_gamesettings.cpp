// SPDX-License-Identifier: MIT
#include "launch/gamesettings.h"

#include <QTest>

#include <memory>
#include <type_traits>

using launch::GameSettings;

class TestGameSettings : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void defaults_data();
    void defaults();
    void recordsAreEqualWhenEveryFieldIs();
};

void TestGameSettings::defaults_data()
{
    QTest::addColumn<GameSettings>("settings");

    QTest::newRow("plain declaration") << [] {
        GameSettings settings;
        return settings;
    }();
    QTest::newRow("value-initialised") << GameSettings();
    QTest::newRow("braces") << GameSettings{};
    QTest::newRow("on the heap") << *std::make_unique<GameSettings>();
}

void TestGameSettings::defaults()
{
    QFETCH(const GameSettings, settings);
    QCOMPARE(settings.upscaling, true);
    QCOMPARE(settings.renderW, 1280);
    QCOMPARE(settings.renderH, 720);
    QCOMPARE(settings.outputW, 1920);
    QCOMPARE(settings.outputH, 1080);
    QCOMPARE(settings.framegen, true);
    QCOMPARE(settings.fgbackend, 0);
    QCOMPARE(settings.holdback, 1);
    QCOMPARE(settings.framecap, true);
    QCOMPARE(settings.caphz, 0);
    QCOMPARE(settings.renderres, true);
    QCOMPARE(settings.pacing, 0);
    QCOMPARE(settings.debugoverlay, false);
}

void TestGameSettings::recordsAreEqualWhenEveryFieldIs()
{
    static_assert(std::is_trivially_copyable_v<GameSettings>);
    GameSettings other;
    QVERIFY(other == GameSettings());
    other.debugoverlay = true;
    QVERIFY(other != GameSettings());
}

QTEST_GUILESS_MAIN(TestGameSettings)
#include "test_gamesettings.moc"
