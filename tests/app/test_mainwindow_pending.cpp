// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// What Steam should hold for a game, and which games differ from it.
class TestMainWindowPending : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// Also a store that a person wrote by hand, which saving it would put in order.
    void nothingIsWrittenBeforeApply()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, u"-novid"_s}});
        const QByteArray stored = "garbage\n[config]\n100\\framegen = true\n[original]\n";
        machine.write(machine.storePath(), stored);
        const QByteArray before = machine.readLocalConfig();
        {
            WindowUser user;
            user.toggle(u"Alpha"_s);
            user.click(user.refreshButton);
            user.window.close();
        }
        QCOMPARE(machine.read(machine.storePath()), stored);
        QCOMPARE(machine.readLocalConfig(), before);
        QCOMPARE(machine.backups(), QStringList());
    }

    void theWindowPreviewsWhatSteamShouldHold_data()
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

        QTest::newRow("not ticked, no options")
            << QString() << QString() << false << QString() << 0;
        QTest::newRow("not ticked, the player's options stay")
            << own << QString() << false << own << 0;
        QTest::newRow("not ticked, its first options are there") << own << own << false << own << 0;
        QTest::newRow("not ticked, its first options come back")
            << u"-windowed"_s << own << false << own << 1;
        QTest::newRow("ticked, no options before")
            << QString() << QString() << true << defaultOptions << 1;
        QTest::newRow("ticked, the player's options are replaced")
            << own << QString() << true << defaultOptions << 1;
        QTest::newRow("set up as it should be")
            << defaultOptions << QString() << false << defaultOptions << 0;
        QTest::newRow("set up, but written differently before")
            << older << QString() << false << defaultOptions << 1;
        QTest::newRow("set up, but in other letter case")
            << otherCase << QString() << false << defaultOptions << 1;
        QTest::newRow("set up by an earlier version")
            << markerless << QString() << false << defaultOptions << 1;
        QTest::newRow("unticked, its first options come back")
            << defaultOptions << own << true << own << 1;
        QTest::newRow("unticked without first options, the options go")
            << defaultOptions << QString() << true << QString() << 1;
    }
    void theWindowPreviewsWhatSteamShouldHold()
    {
        QFETCH(const QString, current);
        QFETCH(const QString, original);
        QFETCH(const bool, toggled);
        QFETCH(const QString, desired);
        QFETCH(const int, pending);
        const PlayersMachine machine;
        if (!original.isEmpty())
            machine.write(machine.storePath(), "[original]\n100=" + original.toUtf8() + '\n');
        machine.installGames({{u"100"_s, u"Alpha"_s, current}});
        WindowUser user;
        if (toggled)
            user.toggle(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), desired);
        QCOMPARE(user.window.desiredLaunchOptions({u"100"_s, u"Alpha"_s, {}, current}), desired);
        QCOMPARE(user.applyButton->isEnabled(), pending == 1);
        QCOMPARE(user.statusLabel->text(), pendingStatus(pending));
    }

    void withoutAGpuNothingCanBeApplied()
    {
        support::PretendMachine machine;
        machine.installSteam();
        machine.addGame(u"100"_s, u"Alpha"_s);
        machine.writeLocalConfig(
            "\"S\"\n{\n\t\"apps\"\n\t{\n\t\t\"100\"\n\t\t{\n\t\t\t\"LaunchOptions\"\t\t\"" +
            defaultOptions.toUtf8() + "\"\n\t\t}\n\t}\n}\n");
        WindowUser user;
        QCOMPARE(user.gpuLabel->text(),
                 u"<b>No GPU detected.</b> Marrowpulse needs /sys/class/drm access."_s);
        QCOMPARE(user.renderGpuCombo->count(), 0);
        QVERIFY(user.isTicked(u"Alpha"_s));
        user.click(user.upscalingCheck);
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), defaultOptions);
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
        QVERIFY(!user.applyButton->isEnabled());
    }

    void untickingAGameKeepsItsSettings()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
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

    void anotherRenderingGpuChangesTickedGamesOnly()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, secondGpuOptions},
                                      {u"200"_s, u"Beta"_s, defaultOptions},
                                      {u"300"_s, u"Gamma"_s, u"-windowed"_s}});
        machine.addSecondGpu();
        WindowUser user;
        const auto previews = [&user] {
            QStringList texts;
            for (int row = 2; row >= 0; --row) {
                user.selectRow(row);
                texts.prepend(user.previewLabel->text());
            }
            return texts;
        };
        // The second GPU is selected at start, so only Beta differs.
        QCOMPARE(previews(), (QStringList{secondGpuOptions, secondGpuOptions, u"-windowed"_s}));
        QCOMPARE(user.statusLabel->text(), pendingStatus(1));
        user.choose(user.renderGpuCombo, 0);
        QCOMPARE(user.previewLabel->text(), defaultOptions); // at once
        QCOMPARE(previews(), (QStringList{defaultOptions, defaultOptions, u"-windowed"_s}));
        QCOMPARE(user.statusLabel->text(), pendingStatus(1));
        QCOMPARE(user.renderResCombo->currentText(), u"1280x720"_s);
    }

    void theSecondOfTwoEqualCardsRenders()
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
