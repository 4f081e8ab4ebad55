// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// What Steam should hold for a game, and which games differ from it.
class TestMainWindowPending : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void desiredLaunchOptions_data()
    {
        QTest::addColumn<QString>("current");
        QTest::addColumn<QString>("original"); // kept in the store
        QTest::addColumn<bool>("toggled");
        QTest::addColumn<QString>("desired");
        QTest::addColumn<int>("pending");
        const auto own = u"gamemoderun %command%"_s;
        const QString older = QString(defaultOptions).replace("-r 45"_L1, "-r 45 -Y"_L1);
        const QString otherCase = QString(defaultOptions).replace("sdl"_L1, "SDL"_L1);
        const QString markerless =
            u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 MARROWPULSE_FG_RENDER_RES=1 gamescope -w 1280 -h 720 -W 1920 -H 1080 -F fsr -r 45 -- %command%"_s;

        QTest::newRow("disabled, nothing set") << QString() << QString() << false << QString() << 0;
        QTest::newRow("disabled, the user's own options stay")
            << own << QString() << false << own << 0;
        QTest::newRow("disabled, the kept original is still there")
            << own << own << false << own << 0;
        QTest::newRow("disabled, the kept original comes back")
            << u"-windowed"_s << own << false << own << 1;
        QTest::newRow("ticked, nothing set")
            << QString() << QString() << true << defaultOptions << 1;
        QTest::newRow("ticked, the user's own options are replaced")
            << own << QString() << true << defaultOptions << 1;
        QTest::newRow("enabled and as it should be")
            << defaultOptions << QString() << false << defaultOptions << 0;
        QTest::newRow("enabled, written differently before")
            << older << QString() << false << defaultOptions << 1;
        QTest::newRow("enabled, letter case differs")
            << otherCase << QString() << false << defaultOptions << 1;
        QTest::newRow("enabled, written by an earlier version")
            << markerless << QString() << false << defaultOptions << 1;
        QTest::newRow("unticked, the kept original comes back")
            << defaultOptions << own << true << own << 1;
        QTest::newRow("unticked without an original, the options are removed")
            << defaultOptions << QString() << true << QString() << 1;
    }
    void desiredLaunchOptions()
    {
        QFETCH(const QString, current);
        QFETCH(const QString, original);
        QFETCH(const bool, toggled);
        QFETCH(const QString, desired);
        QFETCH(const int, pending);
        const PlayersMachine machine;
        if (!original.isEmpty())
            machine.storeValues({{u"original/100"_s, original}});
        machine.installGames({{u"100"_s, u"Alpha"_s, current}});
        WindowUser user;
        if (toggled)
            user.toggle(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), desired);
        QCOMPARE(user.window.desiredLaunchOptions({u"100"_s, u"Alpha"_s, {}, current}), desired);
        QCOMPARE(user.applyButton->isEnabled(), pending == 1);
        QCOMPARE(user.statusLabel->text(),
                 pending == 1
                     ? u"1 game(s) with pending changes. Steam must close briefly to apply."_s
                     : u"No pending changes."_s);
    }

    void withoutAGpuNothingIsEverPending()
    {
        support::PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"100"_s, u"Alpha"_s);
        machine.writeLocalConfig(
            "\"S\"\n{\n\t\"apps\"\n\t{\n\t\t\"100\"\n\t\t{\n\t\t\t\"LaunchOptions\"\t\t\"" +
            defaultOptions.toUtf8() + "\"\n\t\t}\n\t}\n}\n");
        WindowUser user;
        QVERIFY(user.isTicked(u"Alpha"_s));
        user.click(user.upscalingCheck);
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), defaultOptions);
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        QVERIFY(!user.applyButton->isEnabled());
    }

    void enablingAndDisablingLeavesTheSettingsAlone()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        user.choose(user.renderResCombo, 5);
        const QString edited = user.previewLabel->text();
        QVERIFY(edited.contains(" -w 960 -h 540 "_L1));
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), QString());
        QCOMPARE(user.renderResCombo->currentText(), u"960x540"_s);
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), edited);
    }

    void anEditTakenBackIsNoChange()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        user.click(user.framegenCheck);
        user.click(user.framegenCheck);
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
    }

    void anotherRenderingGpuMakesEnabledGamesPendingWithoutTouchingRecords()
    {
        const PlayersMachine machine;
        machine.addSecondGpu();
        const auto onSecond =
            u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 MARROWPULSE_FG_RENDER_RES=1 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 1280 -h 720 -W 1920 -H 1080 -F fsr -r 45 -f --force-windows-fullscreen -g -- env MESA_VK_DEVICE_SELECT=pci-0000_01_00_0 DRI_PRIME=10de:2684 %command%"_s;
        machine.installGames({{u"100"_s, u"Alpha"_s, onSecond},
                              {u"200"_s, u"Beta"_s, defaultOptions},
                              {u"300"_s, u"Gamma"_s, u"-windowed"_s}});
        WindowUser user;
        // The second GPU is selected at start, so only Beta differs.
        QCOMPARE(user.previewLabel->text(), onSecond);
        QCOMPARE(user.statusLabel->text(),
                 u"1 game(s) with pending changes. Steam must close briefly to apply."_s);
        user.choose(user.renderGpuCombo, 0);
        QCOMPARE(user.previewLabel->text(), defaultOptions);
        QCOMPARE(user.statusLabel->text(),
                 u"1 game(s) with pending changes. Steam must close briefly to apply."_s);
        user.select(u"Beta"_s);
        QCOMPARE(user.previewLabel->text(), defaultOptions);
        user.select(u"Gamma"_s);
        QCOMPARE(user.previewLabel->text(), u"-windowed"_s);
        user.select(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), defaultOptions);
        QCOMPARE(user.renderResCombo->currentText(), u"1280x720"_s);
        user.choose(user.renderGpuCombo, 1);
        user.select(u"Beta"_s);
        QCOMPARE(user.previewLabel->text(), onSecond);
    }

    void twoCardsOfOneModelAreTwoGpus()
    {
        const PlayersMachine machine;
        machine.addGpu({.card = u"card1"_s, .address = u"0000:0a:00.0"_s});
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        const WindowUser user;
        QVERIFY(user.previewLabel->text().endsWith(
            " -g -- env MESA_VK_DEVICE_SELECT=pci-0000_0a_00_0 DRI_PRIME=1002:73bf %command%"_L1));
        QVERIFY(user.applyButton->isEnabled());
    }
};

QTEST_MAIN(TestMainWindowPending)
#include "test_mainwindow_pending.moc"
