// SPDX-License-Identifier: MIT
#include "modaldialogs.h"
#include "windowuser.h"

#include "support/samplesteam.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// Enable, apply, disable, apply.
class TestWholeJob : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void enablingAndDisablingGivesBackTheFirstFile()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, u"gamemoderun %command%"_s},
                              {u"200"_s, u"Beta"_s, u"-windowed -novid"_s},
                              {u"300"_s, u"Gamma"_s, QString()},
                              {u"400"_s, u"Delta"_s, u"never touched"_s}});
        const QByteArray first = machine.readLocalConfig();
        WindowUser user;
        const QStringList names{u"Alpha"_s, u"Beta"_s, u"Gamma"_s};
        const MessageBoxAnswers boxes({QMessageBox::No, QMessageBox::No});

        for (const QString &name : names)
            user.toggle(name);
        QCOMPARE(user.statusLabel->text(),
                 u"3 game(s) with pending changes. Steam must close briefly to apply."_s);
        user.click(user.applyButton);
        const QByteArray enabled = machine.readLocalConfig();
        QCOMPARE(enabled, support::sampleLocalConfig({{u"100"_s, defaultOptions},
                                                      {u"200"_s, defaultOptions},
                                                      {u"300"_s, defaultOptions},
                                                      {u"400"_s, u"never touched"_s}}));

        for (const QString &name : names)
            user.toggle(name);
        QCOMPARE(user.statusLabel->text(),
                 u"3 game(s) with pending changes. Steam must close briefly to apply."_s);
        user.click(user.applyButton);
        QCOMPARE(machine.readLocalConfig(), first);
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        QCOMPARE(boxes.shown(),
                 QStringList(2, questionBox(u"Changes applied. Restart Steam now?"_s)));

        const QString folder = machine.localConfig().section(u'/', 0, -2);
        const QStringList backups = machine.backups();
        QCOMPARE(backups.size(), 2);
        QCOMPARE(machine.read(folder + u'/' + backups[0]), first);
        QCOMPARE(machine.read(folder + u'/' + backups[1]), enabled);

        const QMap<QString, QString> stored = machine.storedValues();
        for (const auto &appid : {u"100"_s, u"200"_s, u"300"_s, u"400"_s}) {
            for (const auto &field :
                 {u"upscaling"_s, u"renderW"_s, u"renderH"_s, u"outputW"_s, u"outputH"_s,
                  u"framegen"_s, u"fgbackend"_s, u"holdback"_s, u"framecap"_s, u"caphz"_s,
                  u"renderres"_s, u"pacing"_s, u"debugoverlay"_s})
                QVERIFY2(stored.contains("config/"_L1 + appid + u'/' + field), qPrintable(field));
        }
        QCOMPARE(stored.size(), 4 * 13 + 2);
        QCOMPARE(stored.value(u"original/100"_s), u"gamemoderun %command%"_s);
        QCOMPARE(stored.value(u"original/200"_s), u"-windowed -novid"_s);
    }

    void gamesWithoutALineOrABlockKeepOnlyAnEmptyValue()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}}); // a block without the line
        machine.addGame(u"200"_s, u"Beta"_s);           // no block
        const QByteArray first = machine.readLocalConfig();
        WindowUser user;
        const MessageBoxAnswers boxes({QMessageBox::No, QMessageBox::No});
        for (int round = 0; round < 2; ++round) {
            user.toggle(u"Alpha"_s);
            user.toggle(u"Beta"_s);
            user.click(user.applyButton);
        }
        const QByteArray appsHead = "\t\t\t\t\"apps\"\n\t\t\t\t{";
        const QByteArray blockHead = "\t\t\t\t\t\"100\"\n\t\t\t\t\t{\n";
        QCOMPARE(first.count(appsHead), 1);
        QCOMPARE(first.count(blockHead), 1);
        QByteArray expected = first;
        expected.replace(blockHead, blockHead + "\t\t\t\t\t\t\"LaunchOptions\"\t\t\"\"\n");
        expected.replace(appsHead, appsHead + "\n\t\t\t\t\t\"200\"\n\t\t\t\t\t{\n"
                                              "\t\t\t\t\t\t\"LaunchOptions\"\t\t\"\"\n\t\t\t\t\t}");
        QCOMPARE(machine.readLocalConfig(), expected);
        QCOMPARE(machine.backups().size(), 2);
        QCOMPARE(boxes.shown().size(), 2);
    }
};

QTEST_MAIN(TestWholeJob)
#include "test_whole_job.moc"
