// SPDX-License-Identifier: MIT
#include "windowuser.h"

#include "support/filesizelimit.h"
#include "support/samplesteam.h"

#include <QDir>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

const auto onePending = pendingStatus(1);

QByteArray block(const QByteArray &appid, const QByteArray &content)
{
    return "\t\t\"" + appid + "\"\n\t\t{\n" + content + "\t\t}\n";
}

/// A block whose lines do not show how they are indented: they end in CR LF.
QByteArray crlfBlock(const QByteArray &appid)
{
    return "\t\t\"" + appid + "\"\r\n\t\t{\r\n\t\t\t\"LastPlayed\"\t\t\"5\"\r\n\t\t}\r\n";
}

QByteArray localConfig(const QByteArray &blocks)
{
    return "\"S\"\n{\n\t\"apps\"\n\t{\n" + blocks + "\t}\n}\n";
}

} // namespace

/// Apply where an edit, or the backup before it, fails.
class TestMainWindowApplyFailures : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { QVERIFY(!QGuiApplication::overrideCursor()); }

    void everyFailureIsALineInTheOrderOfTheList()
    {
        const PlayersMachine machine;
        machine.addGame(u"300"_s, u"Alpha"_s);
        machine.addGame(u"100"_s, u"Beta"_s);
        machine.addGame(u"200"_s, u"Gamma"_s);
        machine.addGame(u"400"_s, u"Untouched"_s);
        machine.writeLocalConfig(
            localConfig(crlfBlock("100") + block("200", "\t\t\t\"LaunchOptions\"\t\t\"-x\"\n") +
                        block("300", "\t\t\t\"LaunchOptions\"\t\t\"-y \\\"z\"\n")));
        WindowUser user;
        for (const auto &name : {u"Alpha"_s, u"Beta"_s, u"Gamma"_s})
            user.toggle(name);
        QCOMPARE(
            user.apply({QMessageBox::Ok, QMessageBox::No}),
            (QStringList{
                warningBox(
                    u"Some changes failed:\n300: post-edit verification failed for 300\n100: cannot determine indentation for 100"_s),
                questionBox(restartQuestion)}));
        QCOMPARE(machine.readLocalConfig(),
                 localConfig(crlfBlock("100") +
                             block("200", "\t\t\t\"LaunchOptions\"\t\t\"" +
                                              defaultOptions.toUtf8() + "\"\n") +
                             block("300", "\t\t\t\"LaunchOptions\"\t\t\"-y \\\"z\"\n")));
        QCOMPARE(machine.backups().size(), 1);
        QCOMPARE(user.statusLabel->text(), pendingStatus(2));
        // Everything is stored whatever the outcome, but no part of what cannot be replaced.
        const QMap<QString, QString> stored = machine.storedValues();
        for (const auto &appid : {u"100"_s, u"200"_s, u"300"_s, u"400"_s})
            QCOMPARE(stored.value("config/"_L1 + appid + "/framegen"_L1), u"true"_s);
        QCOMPARE(stored.value(u"original/200"_s), u"-x"_s);
        QVERIFY(!stored.contains(u"original/300"_s));
        QVERIFY(!stored.contains(u"original/100"_s));
    }

    void aFailedGameInTwoLibrariesHasTwoLines()
    {
        PlayersMachine machine;
        const QString second = machine.addLibrary(u"Games"_s);
        machine.addGame(u"100"_s, u"Alpha"_s);
        machine.addGame(u"100"_s, u"Alpha"_s, second);
        machine.writeLocalConfig(localConfig(crlfBlock("100")));
        WindowUser user;
        user.toggle(u"Alpha"_s);
        QCOMPARE(
            user.apply({QMessageBox::Ok, QMessageBox::No}),
            (QStringList{
                warningBox(
                    u"Some changes failed:\n100: cannot determine indentation for 100\n100: cannot determine indentation for 100"_s),
                questionBox(restartQuestion)}));
        QCOMPARE(user.statusLabel->text(), pendingStatus(2));
    }

    void withoutABackupNothingIsChangedAndNoRestartOffered()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        machine.startStubbornSteamClient();
        WindowUser user;
        user.toggle(u"Alpha"_s);
        MessageBoxAnswers boxes({QMessageBox::Yes, QMessageBox::Ok});
        boxes.whileShown = [&machine](qsizetype index) {
            if (index == 0)
                QVERIFY(QFile::remove(machine.localConfig()));
        };
        const DialogVisit<QDialog> kill(
            [&machine](QDialog *) { machine.killSteamClient(); },
            [&machine] { return machine.steamCalls().contains(u"-shutdown"_s); });
        user.click(user.applyButton);
        QCOMPARE(boxes.shown(),
                 (QStringList{
                     questionBox(closeQuestion),
                     warningBox(
                         u"Could not write a backup of Steam's config; nothing was changed."_s)}));
        QCOMPARE(machine.steamCalls(), QStringList{u"-shutdown"_s});
        QVERIFY(!machine.isSteamClientRunning());
        QVERIFY(!QFile::exists(machine.localConfig()));
        QCOMPARE(machine.backups(), QStringList());
        QCOMPARE(machine.storedValues(), (QMap<QString, QString>()));
        QCOMPARE(user.statusLabel->text(), onePending);
    }
};

QTEST_MAIN(TestMainWindowApplyFailures)
#include "test_mainwindow_apply_failures.moc"
