// SPDX-License-Identifier: MIT
#include "modaldialogs.h"
#include "windowuser.h"

#include <QDialog>
#include <QFile>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace
{

const auto nothingPending = u"No pending changes."_s;

/// Takes the changes that are pending to Steam's file, with Steam closed and not restarted.
void applyAll(const WindowUser &user)
{
    const MessageBoxAnswers boxes({QMessageBox::No});
    user.click(user.applyButton);
    QCOMPARE(boxes.shown(), QStringList{questionBox(restartQuestion)});
    QCOMPARE(user.statusLabel->text(), nothingPending);
}

} // namespace

/// What others do between the scan and the edit, and what of a game's own options can be kept.
class TestMainWindowApplyMeanwhile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void optionsThatSteamWritesAsItExits_data()
    {
        QTest::addColumn<QString>("scanned");
        QTest::addColumn<QString>("atExit");
        QTest::addColumn<QString>("kept");
        QTest::newRow("typed") << QString() << u"-typed"_s << u"-typed"_s;
        QTest::newRow("typed over others") << u"-old"_s << u"-typed"_s << u"-typed"_s;
        QTest::newRow("cleared") << u"-old"_s << QString() << QString();
    }
    void optionsThatSteamWritesAsItExits()
    {
        QFETCH(const QString, scanned);
        QFETCH(const QString, atExit);
        QFETCH(const QString, kept);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, atExit}});
        machine.startSteamClient();
        machine.installGames({{u"100"_s, u"Alpha"_s, scanned}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        {
            const MessageBoxAnswers boxes({QMessageBox::Yes, QMessageBox::No});
            user.click(user.applyButton);
            QCOMPARE(boxes.shown().size(), 2);
        }
        QVERIFY(machine.readLocalConfig().contains(defaultOptions.toUtf8()));
        QCOMPARE(machine.storedValues().value(u"original/100"_s), kept);

        user.toggle(u"Alpha"_s);
        applyAll(user);
        QVERIFY(!machine.readLocalConfig().contains(defaultOptions.toUtf8()));
        QVERIFY(
            machine.readLocalConfig().contains("\"LaunchOptions\"\t\t\"" + kept.toUtf8() + '"'));
    }

    void whatAnotherWindowKeptIsGivenBack_data()
    {
        QTest::addColumn<bool>("refreshed");
        QTest::newRow("after a Refresh") << true;
        QTest::newRow("without one") << false;
    }
    void whatAnotherWindowKeptIsGivenBack()
    {
        QFETCH(const bool, refreshed);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), u""_s);
        machine.write(machine.storePath(), "[original]\n100=-theirs\n");
        if (refreshed) {
            user.click(user.refreshButton);
            QCOMPARE(user.previewLabel->text(), u"-theirs"_s);
        }
        applyAll(user);
        QVERIFY(machine.readLocalConfig().contains("\"-theirs\""));
    }

    void nothingElseIsBegunBehindAQuestion()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        MessageBoxAnswers boxes({QMessageBox::No});
        // As assistive tools press: without the pointer, which the dialog would stop.
        boxes.whileShown = [&](qsizetype) {
            user.applyButton->click();
            user.refreshButton->click();
            user.advancedButton->click();
            user.window.close();
        };
        user.click(user.applyButton);
        QCOMPARE(boxes.shown(), QStringList{questionBox(restartQuestion)});
        QCOMPARE(user.gameList->count(), 1);
        QCOMPARE(machine.backups().size(), 1);
        QVERIFY(user.window.isVisible());
        user.click(user.refreshButton);
        QCOMPARE(user.gameList->count(), 2);
    }

    void nothingElseIsBegunWhileTheFileIsWritten()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        user.toggle(u"Alpha"_s);
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s}});
        // As assistive tools press: when the window is painted between two steps, with no dialog.
        int presses = 0;
        QTimer tool;
        connect(&tool, &QTimer::timeout, &user.window, [&] {
            if (QApplication::activeModalWidget() || machine.backups().isEmpty())
                return;
            ++presses;
            user.refreshButton->click();
            user.applyButton->click();
            user.window.close();
        });
        const MessageBoxAnswers boxes({QMessageBox::No});
        tool.start(0);
        user.click(user.applyButton);
        tool.stop();
        QVERIFY(presses > 0);
        QCOMPARE(boxes.shown(), QStringList{questionBox(restartQuestion)});
        QCOMPARE(user.gameList->count(), 1);
        QCOMPARE(machine.backups().size(), 1);
        QVERIFY(user.window.isVisible());
    }

    void nothingElseIsBegunBehindTheAdvancedDialog()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
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

QTEST_MAIN(TestMainWindowApplyMeanwhile)
#include "test_mainwindow_apply_meanwhile.moc"
