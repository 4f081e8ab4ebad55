// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QProgressDialog>
#include <QTest>
#include <QWindow>

using namespace Qt::StringLiterals;

/// Apply while Steam runs.
class TestMainWindowApplySteam : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ifSteamIsNotToBeClosedNothingIsWritten_data()
    {
        QTest::addColumn<QMessageBox::StandardButton>("answer");
        QTest::newRow("No") << QMessageBox::No;
        QTest::newRow("Esc") << QMessageBox::NoButton;
    }
    void ifSteamIsNotToBeClosedNothingIsWritten()
    {
        QFETCH(const QMessageBox::StandardButton, answer);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, u"-first"_s}});
        machine.startSteamClient();
        const QByteArray before = machine.readLocalConfig();
        WindowUser user;
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.apply({answer}), QStringList{questionBox(closeQuestion)});
        QCOMPARE(machine.readLocalConfig(), before);
        QCOMPARE(machine.backups(), QStringList());
        QCOMPARE(machine.storedValues(), (QMap<QString, QString>()));
        QCOMPARE(machine.steamCalls(), QStringList());
        QVERIFY(machine.isSteamClientRunning());
        QCOMPARE(user.statusLabel->text(), pendingStatus(1));
        QVERIFY(user.applyButton->isEnabled());
        QVERIFY(!QGuiApplication::overrideCursor());
    }

    void linesThatSteamWritesAsItExitsStay()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, u"-first"_s}, {u"200"_s, u"Beta"_s}});
        machine.startSteamClient();
        const QByteArray before = machine.readLocalConfig();
        const QByteArray atExit =
            QByteArray(before).replace(0, before.indexOf("{\n") + 2,
                                       "\"UserLocalConfigStore\"\n{\n\t\"ExitCount\"\t\t\"1\"\n");
        WindowUser user;
        user.toggle(u"Alpha"_s);
        QCOMPARE(user.apply({QMessageBox::Yes, QMessageBox::No}),
                 (QStringList{questionBox(closeQuestion), questionBox(restartQuestion)}));
        QCOMPARE(machine.readLocalConfig(),
                 QByteArray(atExit).replace("-first", defaultOptions.toUtf8()));
        QCOMPARE(machine.backups().size(), 1);
        QCOMPARE(machine.read(machine.localConfig().section(u'/', 0, -2) + u'/' +
                              machine.backups().first()),
                 atExit);
        QCOMPARE(machine.steamCalls(), QStringList{u"-shutdown"_s});
        QVERIFY(!machine.isSteamClientRunning());
        QCOMPARE(machine.storedValues().value(u"original/100"_s), u"-first"_s);
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
        QVERIFY(!QGuiApplication::overrideCursor());
    }

    void yesToTheRestartStartsSteamAgain()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        machine.startSteamClient();
        WindowUser user;
        user.toggle(u"Alpha"_s);
        user.apply({QMessageBox::Yes, QMessageBox::Yes});
        QTRY_COMPARE(machine.steamCalls(), (QStringList{u"-shutdown"_s, QString()}));
        QTRY_VERIFY(machine.isSteamClientRunning());
    }

    void nothingEndsOrDisturbsTheWaitForSteam_data()
    {
        using Attempt = std::function<void(WindowUser &, QProgressDialog *)>;
        QTest::addColumn<Attempt>("attempt");
        QTest::newRow("Esc on the dialog") << Attempt(
            [](WindowUser &, QProgressDialog *busy) { QTest::keyClick(busy, Qt::Key_Escape); });
        QTest::newRow("closing the dialog")
            << Attempt([](WindowUser &, QProgressDialog *busy) { QVERIFY(!busy->close()); });
        QTest::newRow("Esc on the window") << Attempt([](WindowUser &user, QProgressDialog *) {
            QTest::keyClick(user.window.windowHandle(), Qt::Key_Escape);
        });
        QTest::newRow("closing the window")
            << Attempt([](WindowUser &user, QProgressDialog *) { QVERIFY(!user.window.close()); });
        QTest::newRow("clicking on Apply") << Attempt([](WindowUser &user, QProgressDialog *) {
            QTest::mouseClick(
                user.window.windowHandle(), Qt::LeftButton, {},
                user.applyButton->mapTo(&user.window, user.applyButton->rect().center()));
        });
        // As assistive tools press: without the pointer, which the dialog would stop.
        QTest::newRow("pressing Apply")
            << Attempt([](WindowUser &user, QProgressDialog *) { user.applyButton->click(); });
        QTest::newRow("Alt+A") << Attempt([](WindowUser &user, QProgressDialog *) {
            QTest::keyClick(user.window.windowHandle(), Qt::Key_A, Qt::AltModifier);
        });
        QTest::newRow("Alt+A on the dialog") << Attempt([](WindowUser &, QProgressDialog *busy) {
            QTest::keyClick(busy, Qt::Key_A, Qt::AltModifier);
        });
        QTest::newRow("clicking on a game") << Attempt([](WindowUser &user, QProgressDialog *) {
            QWidget *list = user.gameList->viewport();
            const QRect row = user.gameList->visualItemRect(user.gameList->item(1));
            QTest::mouseClick(user.window.windowHandle(), Qt::LeftButton, {},
                              list->mapTo(&user.window, QPoint(10, row.center().y())));
        });
    }
    void nothingEndsOrDisturbsTheWaitForSteam()
    {
        using Attempt = std::function<void(WindowUser &, QProgressDialog *)>;
        QFETCH(const Attempt, attempt);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, u"-first"_s}, {u"200"_s, u"Beta"_s}});
        machine.startStubbornSteamClient();
        WindowUser user;
        user.toggle(u"Alpha"_s);
        const MessageBoxAnswers boxes({QMessageBox::Yes, QMessageBox::No});
        bool stayed = false;
        const DialogVisit<QProgressDialog> visit(
            [&](QProgressDialog *busy) {
                attempt(user, busy);
                QCoreApplication::processEvents();
                stayed = busy->isVisible() && user.window.isVisible() &&
                         QApplication::activeModalWidget() == busy;
                machine.killSteamClient();
            },
            [&machine] { return machine.steamCalls().contains(u"-shutdown"_s); });
        user.click(user.applyButton);
        QVERIFY(visit.hasCome());
        QVERIFY(stayed);
        // One Apply, which went on as if nothing had happened.
        QCOMPARE(boxes.shown(),
                 (QStringList{questionBox(closeQuestion), questionBox(restartQuestion)}));
        QCOMPARE(machine.steamCalls(), QStringList{u"-shutdown"_s});
        QCOMPARE(machine.backups().size(), 1);
        QVERIFY(machine.readLocalConfig().contains(defaultOptions.toUtf8()));
        QVERIFY(user.window.isVisible());
        QVERIFY(!user.isTicked(u"Beta"_s));
        QVERIFY(user.window.close());
    }

    void aDialogShowsTheWaitAndApplyTakesTheGamesFromBeforeIt()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, u"-first"_s}});
        machine.startStubbornSteamClient();
        const QString otherAccount =
            machine.steamRoot() + "/userdata/70002/config/localconfig.vdf"_L1;
        WindowUser user;
        user.toggle(u"Alpha"_s);
        const MessageBoxAnswers boxes({QMessageBox::Yes, QMessageBox::No});
        const QByteArray untouched = "\"S\"\n{\n\t\"apps\"\n\t{\n\t}\n}\n";
        const DialogVisit<QProgressDialog> visit(
            [&](QProgressDialog *busy) {
                QCOMPARE(busy->labelText(), u"Waiting for Steam to close\u2026"_s);
                QCOMPARE(busy->minimum(), 0);
                QCOMPARE(busy->maximum(), 0);
                QCOMPARE(busy->windowModality(), Qt::WindowModal);
                QCOMPARE(busy->parentWidget(), &user.window);
                QVERIFY(busy->findChildren<QPushButton *>().isEmpty());
                QVERIFY(!QGuiApplication::overrideCursor());
                machine.removeGame(u"100"_s);
                machine.write(otherAccount, untouched); // the newest from now on
                machine.killSteamClient();
            },
            [&machine] { return machine.steamCalls().contains(u"-shutdown"_s); });
        user.click(user.applyButton);
        QVERIFY(visit.hasCome());
        QVERIFY(machine.readLocalConfig().contains("\t\"LaunchOptions\"\t\t\"" +
                                                   defaultOptions.toUtf8() + "\"\n"));
        QCOMPARE(machine.read(otherAccount), untouched);
        QCOMPARE(machine.backups().size(), 1);
        QCOMPARE(user.gameList->count(), 1); // no rescan
    }
};

QTEST_MAIN(TestMainWindowApplySteam)
#include "test_mainwindow_apply_steam.moc"
