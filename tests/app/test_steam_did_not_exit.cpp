// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include <QElapsedTimer>
#include <QTest>

using namespace Qt::StringLiterals;

/// The only test that waits for as long as the program does.
class TestSteamDidNotExit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void afterNinetySecondsApplyGivesUpWithNothingChanged()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, u"-first"_s}});
        machine.startStubbornSteamClient();
        const QByteArray before = machine.readLocalConfig();
        WindowUser user;
        user.toggle(u"Alpha"_s);
        const MessageBoxAnswers boxes({QMessageBox::Yes, QMessageBox::Ok});
        QElapsedTimer timer;
        timer.start();
        user.click(user.applyButton);

        QVERIFY2(timer.elapsed() >= 90'000, QByteArray::number(timer.elapsed()));
        QVERIFY2(timer.elapsed() < 150'000, QByteArray::number(timer.elapsed()));
        QCOMPARE(boxes.shown(),
                 (QStringList{questionBox(closeQuestion),
                              warningBox(u"Steam did not exit; nothing was changed."_s)}));
        QCOMPARE(machine.readLocalConfig(), before);
        QCOMPARE(machine.backups(), QStringList());
        QCOMPARE(machine.storedValues(), (QMap<QString, QString>()));
        QCOMPARE(machine.steamCalls(), QStringList{u"-shutdown"_s});
        QVERIFY(!QApplication::activeModalWidget());
        QVERIFY(!QGuiApplication::overrideCursor());
        QCOMPARE(user.statusLabel->text(), pendingStatus(1));
        QVERIFY(user.applyButton->isEnabled());
    }
};

QTEST_MAIN(TestSteamDidNotExit)
#include "test_steam_did_not_exit.moc"
