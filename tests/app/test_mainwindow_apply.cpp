// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

/// Apply without a failure, whatever Steam or another window does meanwhile.
class TestMainWindowApply : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void applyBacksUpEditsAndAsksForTheRestart()
    {
        const PlayersMachine machine;
        machine.addSteamCommand();
        machine.installGames(
            {{u"100"_s, u"Alpha"_s, u"-first"_s}, {u"200"_s, u"Beta"_s, u"-second"_s}});
        const QByteArray before = machine.readLocalConfig();
        const QByteArray after = QByteArray(before).replace("-first", defaultOptions.toUtf8());
        WindowUser user;
        user.toggle(u"Alpha"_s);
        MessageBoxAnswers boxes({QMessageBox::No});
        boxes.whileShown = [&](qsizetype) { // the work is done before the question
            QCOMPARE(machine.readLocalConfig(), after);
            QCOMPARE(user.statusLabel->text(), pendingStatus(0)); // seen behind it
        };
        user.click(user.applyButton);

        QCOMPARE(boxes.shown(), QStringList{questionBox(restartQuestion)});
        QCOMPARE(machine.readLocalConfig(), after);
        QCOMPARE(machine.backups().size(), 1);
        QCOMPARE(machine.read(machine.localConfig().section(u'/', 0, -2) + u'/' +
                              machine.backups().first()),
                 before);
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
        QVERIFY(!user.applyButton->isEnabled());
        QVERIFY(user.isTicked(u"Alpha"_s));
        QCOMPARE(machine.steamCalls(), QStringList());
        QVERIFY(!QGuiApplication::overrideCursor());
    }

    void withNothingPendingApplyDoesNothing()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        const QByteArray before = machine.readLocalConfig();
        WindowUser user;
        const MessageBoxAnswers boxes;
        user.click(user.applyButton); // disabled
        user.window.apply();
        QCOMPARE(boxes.shown(), QStringList());
        QCOMPARE(machine.readLocalConfig(), before);
        QCOMPARE(machine.backups(), QStringList());
        QCOMPARE(machine.storedValues(), (QMap<QString, QString>()));
        QVERIFY(!QGuiApplication::overrideCursor());
    }

    void aMissingLocalConfigIsReported_data()
    {
        QTest::addColumn<int>("pending");
        QTest::newRow("nothing pending") << 0;
        QTest::newRow("a pending change, and Steam runs") << 1;
    }
    void aMissingLocalConfigIsReported()
    {
        QFETCH(const int, pending);
        const PlayersMachine machine;
        machine.addGame(u"100"_s, u"Alpha"_s);
        if (pending)
            machine.startSteamClient();
        WindowUser user;
        if (pending)
            user.toggle(u"Alpha"_s);
        const MessageBoxAnswers boxes({QMessageBox::Ok});
        user.window.apply(); // the button may be disabled
        QCOMPARE(boxes.shown(),
                 QStringList{warningBox(u"Could not find Steam's localconfig.vdf."_s)});
        QCOMPARE(machine.storedValues(), (QMap<QString, QString>()));
        QCOMPARE(machine.steamCalls(), QStringList());
        QCOMPARE(user.statusLabel->text(), pendingStatus(pending));
    }

    void applyStoresTheSettingsOfAllGames()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s},
                                      {u"200"_s, u"Beta"_s, u"-windowed"_s},
                                      {u"300"_s, u"Gamma"_s}});
        WindowUser user;
        machine.removeGame(u"300"_s); // no longer listed, but its record stays
        user.click(user.refreshButton);
        user.toggle(u"Alpha"_s);
        user.apply();
        QMap<QString, QString> expected;
        const QStringList defaults{u"upscaling=true"_s,    u"renderW=1280"_s,   u"renderH=720"_s,
                                   u"outputW=1920"_s,      u"outputH=1080"_s,   u"framegen=true"_s,
                                   u"fgbackend=0"_s,       u"holdback=1"_s,     u"framecap=true"_s,
                                   u"caphz=0"_s,           u"renderres=true"_s, u"pacing=0"_s,
                                   u"debugoverlay=false"_s};
        for (const auto &appid : {u"100"_s, u"200"_s, u"300"_s}) {
            for (const QString &line : defaults)
                expected.insert("config/"_L1 + appid + u'/' + line.section(u'=', 0, 0),
                                line.section(u'=', 1));
        }
        // Beta was not rewritten, so its own options are not kept.
        QCOMPARE(machine.storedValues(), expected);
    }

    void anAutomaticCapIsWrittenAsANumberAndStaysAutomatic()
    {
        const PlayersMachine machine;
        machine.addXrandr("   2560x1440    143.97*+\n");
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        QCOMPARE(user.frameCapCheck->text(), u"Limit frame rate to 108 fps (smoother)"_s);
        user.toggle(u"Alpha"_s);
        user.apply();
        QVERIFY(machine.readLocalConfig().contains(" -F fsr -r 108 -f "));
        QCOMPARE(machine.storedValues().value(u"config/100/caphz"_s), u"0"_s);
    }

    void optionsThatSteamWritesAsItExitsAreGivenBackLater()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, u"-typed"_s}});
        machine.startSteamClient();
        machine.installGames({{u"100"_s, u"Alpha"_s, u"-old"_s}}); // what the window reads
        WindowUser user;
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.apply({QMessageBox::Yes, QMessageBox::No}).size(), 2);
        QVERIFY(machine.readLocalConfig().contains(defaultOptions.toUtf8()));
        QCOMPARE(machine.storedValues().value(u"original/100"_s), u"-typed"_s);

        user.toggle(u"Alpha"_s);
        QCOMPARE(user.apply(), QStringList{questionBox(restartQuestion)});
        QVERIFY(!machine.readLocalConfig().contains(defaultOptions.toUtf8()));
        QVERIFY(machine.readLocalConfig().contains("\"LaunchOptions\"\t\t\"-typed\""));
    }

    void optionsThatAnotherWindowSavedAreGivenBack_data()
    {
        QTest::addColumn<bool>("refreshed");
        QTest::newRow("after a Refresh") << true;
        QTest::newRow("without one") << false;
    }
    void optionsThatAnotherWindowSavedAreGivenBack()
    {
        QFETCH(const bool, refreshed);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), u""_s);
        machine.write(machine.storePath(), "[original]\n100=-theirs\n");
        if (refreshed) {
            user.click(user.refreshButton);
            QCOMPARE(user.previewLabel->text(), u"-theirs"_s);
        }
        QCOMPARE(user.apply(), QStringList{questionBox(restartQuestion)});
        QVERIFY(machine.readLocalConfig().contains("\"-theirs\""));
    }

    void duringAnApplyNoButtonStartsAnythingElse_data()
    {
        QTest::addColumn<bool>("inAQuestion");
        QTest::newRow("while a question is open") << true;
        QTest::newRow("while the file is written") << false;
    }
    void duringAnApplyNoButtonStartsAnythingElse()
    {
        QFETCH(const bool, inAQuestion);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        // As assistive tools press: without the pointer, which a dialog would stop.
        int presses = 0;
        QTimer tool;
        connect(&tool, &QTimer::timeout, &user.window, [&] {
            if (bool(QApplication::activeModalWidget()) != inAQuestion ||
                machine.backups().isEmpty())
                return;
            ++presses;
            for (QPushButton *button : {user.refreshButton, user.applyButton, user.advancedButton})
                button->click();
            user.window.close();
        });
        tool.start(0);
        const QStringList boxes = user.apply();
        tool.stop();
        QVERIFY(presses > 0);
        QCOMPARE(boxes, QStringList{questionBox(restartQuestion)});
        QCOMPARE(user.gameList->count(), 1);
        QCOMPARE(machine.backups().size(), 1);
        QVERIFY(user.window.isVisible());
        user.click(user.refreshButton);
        QCOMPARE(user.gameList->count(), 2);
    }

    void behindTheAdvancedDialogNoButtonStartsAnything()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        const QByteArray before = machine.readLocalConfig();
        machine.removeGame(u"100"_s);
        machine.addGame(u"200"_s, u"Beta"_s);
        const MessageBoxAnswers boxes;
        const DialogVisit<QDialog> dialog([&](QDialog *advanced) {
            advanced->findChild<QCheckBox *>(u"overlayCheck"_s)->click();
            user.refreshButton->click();
            user.applyButton->click();
            user.advancedButton->click();
            QVERIFY(user.item(u"Alpha"_s));
            advanced->accept();
        });
        user.click(user.advancedButton);
        QVERIFY(dialog.hasCome());
        QCOMPARE(boxes.shown(), QStringList());
        QCOMPARE(machine.readLocalConfig(), before);
        QVERIFY(user.previewLabel->text().contains(u"GAMESCOPE_FRAMEGEN_DEBUG=1"_s));
    }
};

QTEST_MAIN(TestMainWindowApply)
#include "test_mainwindow_apply.moc"
