// SPDX-License-Identifier: MIT
#include "modaldialogs.h"
#include "windowuser.h"

#include "support/samplesteam.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

/// The sample's text with the app's value line in it changed from `before` to `after`.
QByteArray changed(const QByteArray &text, const QString &before, const QString &after)
{
    const QByteArray line = "\"LaunchOptions\"\t\t\"" + before.toUtf8() + "\"\n";
    if (text.count(line) != 1)
        qFatal("%lld lines to change", static_cast<long long>(text.count(line)));
    return QByteArray(text).replace(line, "\"LaunchOptions\"\t\t\"" + after.toUtf8() + "\"\n");
}

} // namespace

/// Apply while Steam does not run.
class TestMainWindowApply : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void backsUpEditsAndAsksForTheRestart()
    {
        const PlayersMachine machine;
        machine.addSteamCommand();
        machine.installGames(
            {{u"100"_s, u"Alpha"_s, u"-first"_s}, {u"200"_s, u"Beta"_s, u"-second"_s}});
        const QByteArray before = machine.readLocalConfig();
        WindowUser user;
        user.toggle(u"Alpha"_s);
        MessageBoxAnswers boxes({QMessageBox::No});
        boxes.whileShown = [&](qsizetype) { // the work is done before the question
            QCOMPARE(machine.readLocalConfig(), changed(before, u"-first"_s, defaultOptions));
            QCOMPARE(user.statusLabel->text(), u"No pending changes."_s); // seen behind it
        };
        user.click(user.applyButton);

        QCOMPARE(boxes.shown(), QStringList{questionBox(restartQuestion)});
        QCOMPARE(machine.readLocalConfig(), changed(before, u"-first"_s, defaultOptions));
        QCOMPARE(machine.backups().size(), 1);
        QCOMPARE(machine.read(machine.localConfig().section(u'/', 0, -2) + u'/' +
                              machine.backups().first()),
                 before);
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        QVERIFY(!user.applyButton->isEnabled());
        QVERIFY(user.isTicked(u"Alpha"_s));
        QCOMPARE(machine.steamCalls(), QStringList());
        QVERIFY(!QGuiApplication::overrideCursor());
    }

    void nothingPendingDoesNothing()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
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

    void aMissingLocalConfigIsToldEvenWithNothingPending()
    {
        const PlayersMachine machine;
        machine.addGame(u"100"_s, u"Alpha"_s);
        WindowUser user;
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        const MessageBoxAnswers boxes({QMessageBox::Ok});
        user.window.apply(); // the button is disabled
        QCOMPARE(boxes.shown(),
                 QStringList{warningBox(u"Could not find Steam's localconfig.vdf."_s)});
    }

    void aMissingLocalConfigStopsPendingChanges()
    {
        const PlayersMachine machine;
        machine.startSteamClient();
        machine.addGame(u"100"_s, u"Alpha"_s);
        WindowUser user;
        user.toggle(u"Alpha"_s);
        const MessageBoxAnswers boxes({QMessageBox::Ok});
        user.click(user.applyButton);
        QCOMPARE(boxes.shown(),
                 QStringList{warningBox(u"Could not find Steam's localconfig.vdf."_s)});
        QCOMPARE(machine.storedValues(), (QMap<QString, QString>()));
        QCOMPARE(machine.steamCalls(), QStringList());
        QCOMPARE(user.statusLabel->text(),
                 u"1 game(s) with pending changes. Steam must close briefly to apply."_s);
    }

    void whatAnotherWindowHasKeptMeanwhileStays()
    {
        const PlayersMachine machine;
        machine.installGames(
            {{u"100"_s, u"Alpha"_s, u"-first"_s}, {u"200"_s, u"Beta"_s, u"-second"_s}});
        WindowUser user;
        machine.write(machine.storePath(), "[original]\n100=-theirs\n");
        user.toggle(u"Alpha"_s);
        user.toggle(u"Beta"_s);
        const MessageBoxAnswers boxes({QMessageBox::No});
        user.click(user.applyButton);
        QCOMPARE(boxes.shown(), QStringList{questionBox(restartQuestion)});
        QCOMPARE(machine.storedValues().value(u"original/100"_s), u"-theirs"_s);
        QCOMPARE(machine.storedValues().value(u"original/200"_s), u"-second"_s);
        QCOMPARE(machine.readLocalConfig().count(defaultOptions.toUtf8()), 2);
    }

    void settingsOfAllGamesAreStoredChangedOrNot()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s},
                              {u"200"_s, u"Beta"_s, u"-windowed"_s},
                              {u"300"_s, u"Gamma"_s}});
        WindowUser user;
        machine.removeGame(u"300"_s); // no longer listed, but its record stays
        user.click(user.refreshButton);
        user.toggle(u"Alpha"_s);
        const MessageBoxAnswers boxes({QMessageBox::No});
        user.click(user.applyButton);
        QMap<QString, QString> expected;
        for (const auto &appid : {u"100"_s, u"200"_s, u"300"_s}) {
            const QString prefix = "config/"_L1 + appid + u'/';
            expected.insert({{prefix + "upscaling"_L1, u"true"_s},
                             {prefix + "renderW"_L1, u"1280"_s},
                             {prefix + "renderH"_L1, u"720"_s},
                             {prefix + "outputW"_L1, u"1920"_s},
                             {prefix + "outputH"_L1, u"1080"_s},
                             {prefix + "framegen"_L1, u"true"_s},
                             {prefix + "fgbackend"_L1, u"0"_s},
                             {prefix + "holdback"_L1, u"1"_s},
                             {prefix + "framecap"_L1, u"true"_s},
                             {prefix + "caphz"_L1, u"0"_s},
                             {prefix + "renderres"_L1, u"true"_s},
                             {prefix + "pacing"_L1, u"0"_s},
                             {prefix + "debugoverlay"_L1, u"false"_s}});
        }
        // Beta was not rewritten, so its own options are not kept.
        QCOMPARE(machine.storedValues(), expected);
    }

    void anAutomaticCapIsWrittenAsTheNumberOfThatMoment()
    {
        const PlayersMachine machine;
        machine.addXrandr("   2560x1440    143.97*+\n");
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        WindowUser user;
        QCOMPARE(user.frameCapCheck->text(), u"Limit frame rate to 108 fps (smoother)"_s);
        user.toggle(u"Alpha"_s);
        const MessageBoxAnswers boxes({QMessageBox::No});
        user.click(user.applyButton);
        QVERIFY(machine.readLocalConfig().contains(" -F fsr -r 108 -f "));
        QCOMPARE(machine.storedValues().value(u"config/100/caphz"_s), u"0"_s);
    }
};

QTEST_MAIN(TestMainWindowApply)
#include "test_mainwindow_apply.moc"
