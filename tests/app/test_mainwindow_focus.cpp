// SPDX-License-Identifier: MIT
// Where the keyboard focus is, and what the wheel does without it.
#include "windowuser.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestMainWindowFocus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theWindowOpensWithTheFocusInTheList_data()
    {
        QTest::addColumn<bool>("hasGames");
        QTest::newRow("games") << true;
        QTest::newRow("no games") << false;
    }
    void theWindowOpensWithTheFocusInTheList()
    {
        QFETCH(const bool, hasGames);
        const PlayersMachine machine;
        machine.addSecondGpu();
        if (hasGames)
            machine.installGames({{u"100"_s, u"Alpha"_s, secondGpuOptions}});
        const WindowUser user;
        QCOMPARE(QApplication::focusWidget(), user.gameList);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
        QCOMPARE(user.renderGpuCombo->currentIndex(), 1);
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
    }

    void theFocusIsInTheListAfterApply_data()
    {
        using Buttons = QList<QMessageBox::StandardButton>;
        QTest::addColumn<bool>("steamRuns");
        QTest::addColumn<Buttons>("answers");
        const auto yes = QMessageBox::Yes;
        const auto no = QMessageBox::No;
        QTest::newRow("Steam does not run") << false << Buttons{no};
        QTest::newRow("Steam is closed") << true << Buttons{yes, no};
        QTest::newRow("Steam is not to be closed") << true << Buttons{no};
    }
    void theFocusIsInTheListAfterApply()
    {
        QFETCH(const bool, steamRuns);
        QFETCH(const QList<QMessageBox::StandardButton>, answers);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, secondGpuOptions}});
        machine.addSecondGpu();
        if (steamRuns)
            machine.startSteamClient();
        WindowUser user;
        user.click(user.framegenCheck);
        const MessageBoxAnswers boxes(answers);
        user.applyButton->setFocus();
        QTest::keyClick(user.applyButton, Qt::Key_Space);
        QCOMPARE(boxes.shown().size(), answers.size());
        user.window.activateWindow(); // as a window manager does after a dialog
        QVERIFY(QTest::qWaitForWindowActive(&user.window));
        QCOMPARE(QApplication::focusWidget(), user.gameList);
        const QString status = user.statusLabel->text();
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
        QCOMPARE(user.statusLabel->text(), status);
    }

    void refreshKeepsTheFocus_data()
    {
        QTest::addColumn<QString>("control");
        for (const char *control :
             {"gameList", "upscalingCheck", "renderResCombo", "outputResCombo", "framegenCheck",
              "holdbackCombo", "frameCapCheck", "advancedButton", "refreshButton",
              "renderGpuCombo"})
            QTest::newRow(control) << QString::fromLatin1(control);
    }

    void refreshKeepsTheFocus()
    {
        QFETCH(QString, control);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        auto *widget = user.window.findChild<QWidget *>(control);
        widget->setFocus();
        QTest::keyClick(&user.window, Qt::Key_R, Qt::AltModifier);
        QTRY_VERIFY(!user.refreshButton->isDown());
        QCOMPARE(QApplication::focusWidget(), widget);
    }

    void theFocusGoesToTheListWhenItsControlTurnsGrey()
    {
        const PlayersMachine machine(
            {{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s, defaultOptions}});
        WindowUser user;
        user.select(u"Beta"_s);
        user.framegenCheck->setFocus();
        machine.removeGame(u"200"_s); // Alpha, which is not enabled, is selected then
        QTest::keyClick(&user.window, Qt::Key_R, Qt::AltModifier);
        QTRY_COMPARE(user.gameList->count(), 1);
        QCOMPARE(QApplication::focusWidget(), user.gameList);
    }

    void theWheelChangesNoBoxThatThePointerOnlyPasses_data()
    {
        QTest::addColumn<QString>("box");
        for (const char *box :
             {"renderGpuCombo", "renderResCombo", "outputResCombo", "methodCombo", "holdbackCombo"})
            QTest::newRow(box) << QString::fromLatin1(box);
    }
    void theWheelChangesNoBoxThatThePointerOnlyPasses()
    {
        QFETCH(const QString, box);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        machine.installLosslessScaling();
        machine.addSecondGpu();
        WindowUser user;
        auto *combo = user.window.findChild<QComboBox *>(box);
        if (combo == user.renderGpuCombo) // a notch leads on from the first
            user.choose(combo, 0);
        user.gameList->setFocus();
        const QString shown = combo->currentText();
        const QString preview = user.previewLabel->text();
        const QString status = user.statusLabel->text();
        turnWheelOver(combo);
        QCOMPARE(combo->currentText(), shown);
        QCOMPARE(user.previewLabel->text(), preview);
        QCOMPARE(user.statusLabel->text(), status);
        QCOMPARE(QApplication::focusWidget(), user.gameList);

        combo->setFocus();
        turnWheelOver(combo);
        QVERIFY(combo->currentText() != shown); // else nothing is shown here
    }
};

QTEST_MAIN(TestMainWindowFocus)
#include "test_mainwindow_focus.moc"
