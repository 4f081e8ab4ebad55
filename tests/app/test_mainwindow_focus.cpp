// SPDX-License-Identifier: MIT
// Where the keyboard focus is after the window's parts were rebuilt.
#include "windowuser.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestMainWindowFocus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
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
