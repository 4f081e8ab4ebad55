// SPDX-License-Identifier: MIT
// Where the keyboard focus is at the start, and after the window's parts were rebuilt.
#include "modaldialogs.h"
#include "windowuser.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

/// What a game with default settings gets where a second GPU renders.
const QString twoGpuOptions =
    QString(defaultOptions)
        .replace("%command%"_L1, "env MESA_VK_DEVICE_SELECT=pci-0000_01_00_0 "
                                 "DRI_PRIME=10de:2684 %command%"_L1);

} // namespace

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
            machine.installGames({{u"100"_s, u"Alpha"_s, twoGpuOptions}});
        const WindowUser user;
        QCOMPARE(QApplication::focusWidget(), user.gameList);
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Up);
        QCOMPARE(user.renderGpuCombo->currentIndex(), 1);
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
    }

    void theFocusIsInTheListAfterApply_data()
    {
        using Buttons = QList<QMessageBox::StandardButton>;
        QTest::addColumn<bool>("steamRuns");
        QTest::addColumn<bool>("byKeyboard");
        QTest::addColumn<Buttons>("answers");
        const auto yes = QMessageBox::Yes;
        const auto no = QMessageBox::No;
        QTest::newRow("clicked") << false << false << Buttons{no};
        QTest::newRow("by the keyboard") << false << true << Buttons{no};
        QTest::newRow("Steam is closed") << true << true << Buttons{yes, no};
        QTest::newRow("Steam is not to be closed") << true << false << Buttons{no};
    }
    void theFocusIsInTheListAfterApply()
    {
        QFETCH(const bool, steamRuns);
        QFETCH(const bool, byKeyboard);
        QFETCH(const QList<QMessageBox::StandardButton>, answers);
        const PlayersMachine machine;
        machine.addSecondGpu();
        machine.addSteamCommand();
        machine.installGames({{u"100"_s, u"Alpha"_s, twoGpuOptions}});
        if (steamRuns)
            machine.startSteamClient();
        WindowUser user;
        user.click(user.framegenCheck);
        const MessageBoxAnswers boxes(answers);
        if (byKeyboard) {
            user.applyButton->setFocus();
            QTest::keyClick(user.applyButton, Qt::Key_Space);
        } else {
            user.click(user.applyButton);
        }
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
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        QVERIFY(QTest::qWaitForWindowActive(&user.window));
        auto *widget = user.window.findChild<QWidget *>(control);
        widget->setFocus();
        QTest::keyClick(&user.window, Qt::Key_R, Qt::AltModifier);
        QTRY_VERIFY(!user.refreshButton->isDown());
        QCOMPARE(QApplication::focusWidget(), widget);
    }

    void focusGoesToTheListWhenItsControlIsDisabled()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}, {u"200"_s, u"Beta"_s, defaultOptions}});
        WindowUser user;
        QVERIFY(QTest::qWaitForWindowActive(&user.window));
        user.select(u"Beta"_s);
        user.framegenCheck->setFocus();
        machine.removeGame(u"200"_s); // Alpha, which is not enabled, is selected then
        QTest::keyClick(&user.window, Qt::Key_R, Qt::AltModifier);
        QTRY_COMPARE(user.gameList->count(), 1);
        QCOMPARE(QApplication::focusWidget(), user.gameList);
    }
};

QTEST_MAIN(TestMainWindowFocus)
#include "test_mainwindow_focus.moc"
