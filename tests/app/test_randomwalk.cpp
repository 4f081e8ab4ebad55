// SPDX-License-Identifier: MIT
#include "app/advanceddialog.h"
#include "app/gameitem.h"
#include "modaldialogs.h"
#include "model/launchmodel.h"
#include "model/steammodel.h"
#include "windowuser.h"

#include <QDialogButtonBox>
#include <QTest>

#include <random>

using namespace Qt::StringLiterals;
using Texts = QMap<QString, QString>; // launch options by app id

/// A player clicks about at random, and Steam changes its file meanwhile.
class TestRandomWalk : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theWindowTellsTheTruthAndGivesFirstOptionsBack_data()
    {
        QTest::addColumn<unsigned>("seed");
        for (unsigned seed = 1; seed <= (qgetenv("MARROWPULSE_LONG") == "1" ? 90 : 8); ++seed)
            QTest::addRow("seed %u", seed) << seed;
    }
    void theWindowTellsTheTruthAndGivesFirstOptionsBack()
    {
        QFETCH(const unsigned, seed);
        random.seed(seed);
        machine.emplace().addSecondGpu();
        machine->installGames({{u"100"_s, u"A: no line"_s},
                               {u"201"_s, u"B: options"_s, u"gamemoderun %command% -novid"_s},
                               {u"300"_s, u"C: set up"_s, defaultOptions},
                               {u"400"_s, u"D: refused"_s, u"NAME=\\\"a b\\\" %command%"_s},
                               {u"600"_s, u"F: twice"_s, QString()}});
        machine->addGame(u"500"_s, u"E: no block"_s);
        machine->addGame(u"600"_s, u"F: twice"_s, machine->addLibrary(u"second"_s));
        file = machine->readLocalConfig();
        firstOptions.clear();
        user.emplace();
        scanned = held();
        for (int steps = 0; steps < 100 && !QTest::currentTestFailed(); ++steps) {
            step(pick(16));
            check();
        }
        for (int row = 0; row < rows(); ++row)
            if (isTicked(row))
                user->toggleRow(row);
        refresh();
        apply(false);
        check();
        QCOMPARE(held(), previews());
        user.reset();
    }

private:
    int pick(int count) { return static_cast<int>(random() % static_cast<unsigned>(count)); }
    int rows() const { return user->gameList->count(); }
    QListWidgetItem *item(int row) const { return user->gameList->item(row); }
    QString appid(int row) const { return item(row)->data(Qt::UserRole).toString(); }
    bool isTicked(int row) const { return item(row)->checkState() == Qt::Checked; }
    static bool isOwn(const QString &options) { return model::isOwn(options.toStdString()); }
    Texts held() const
    {
        Texts values;
        for (int row = 0; row < rows(); ++row)
            values[appid(row)] = QString::fromStdU16String(
                model::readLaunchOptions(file.toStdString(), appid(row).toStdString()));
        return values;
    }
    Texts previews()
    {
        Texts shown;
        for (int row = 0; row < rows(); ++row) {
            user->selectRow(row);
            shown[appid(row)] = user->previewLabel->text();
        }
        user->selectRow(pick(rows()));
        return shown;
    }
    void check()
    {
        QCOMPARE(machine->readLocalConfig(), file);
        const Texts wanted = previews();
        int pending = 0;
        for (int row = 0; row < rows(); ++row) {
            const QString id = appid(row);
            if (isTicked(row))
                QVERIFY2(isOwn(wanted[id]), qPrintable(wanted[id]));
            else // its first options, and none of the program's
                QCOMPARE(wanted[id],
                         firstOptions.value(id, isOwn(scanned[id]) ? QString() : scanned[id]));
            QCOMPARE(item(row)->data(GameItem::PendingRole).toBool(), wanted[id] != scanned[id]);
            pending += wanted[id] != scanned[id] ? 1 : 0;
        }
        QCOMPARE(user->statusLabel->text().section(u' ', 0, 0),
                 pending ? QString::number(pending) : u"No"_s);
        QCOMPARE(user->applyButton->isEnabled(), pending > 0);
        QCOMPARE(user->previewLabel->text().contains("FRAMEGEN=auto"_L1),
                 user->settingsGroup->isEnabled() && user->framegenCheck->isChecked());
    }
    void step(int kind)
    {
        const DialogVisit<AdvancedDialog> visit([&](AdvancedDialog *dialog) {
            WindowUser::click(dialog->findChild<QCheckBox *>(u"overlayCheck"_s));
            WindowUser::click(dialog->findChild<QDialogButtonBox *>()->button(
                pick(3) > 0 ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel));
        });
        if (kind == 0)
            WindowUser::click(user->framegenCheck); // in vain while the game is not ticked
        else if (kind == 1)
            WindowUser::click(user->advancedButton);
        else if (kind == 2)
            WindowUser::choose(user->renderGpuCombo, pick(2));
        else if (kind < 6 && change(appid(pick(rows())), pick(3) ? u"-typed"_s : defaultOptions))
            machine->writeLocalConfig(file);
        else if (kind == 6)
            restart();
        else if (kind == 7)
            refresh();
        else if (kind < 11)
            apply(pick(4) == 0);
        else if (kind == 11 && user->outputResCombo->isEnabled())
            WindowUser::choose(user->outputResCombo, pick(5));
        else
            user->toggleRow(pick(rows()));
    }
    bool change(const QString &id, const QString &options)
    {
        const model::Edited edited =
            model::edit(file.toStdString(), {{id.toStdString(), options.toStdU16String()}});
        file = QByteArray::fromStdString(edited.text);
        return edited.refusals.empty();
    }
    void refresh()
    {
        WindowUser::click(user->refreshButton);
        scanned = held();
    }
    void restart()
    {
        const Texts before = previews();
        const bool isAllKept = before == scanned && scanned == held();
        const int gpu = user->renderGpuCombo->currentIndex();
        user.emplace();
        WindowUser::choose(user->renderGpuCombo, gpu);
        scanned = held();
        for (int row = 0; row < rows(); ++row)
            QCOMPARE(isTicked(row), isOwn(scanned[appid(row)]));
        if (isAllKept)
            QCOMPARE(previews(), before);
    }
    void apply(bool steamRuns)
    {
        if (steamRuns)
            machine->startSteamClient();
        const Texts wanted = previews();
        QStringList expected;
        if (wanted != scanned) {
            if (steamRuns) { // the client notes that it exits
                expected += questionBox(closeQuestion);
                file.insert(file.indexOf("{\n") + 2, "\t\"ExitCount\"\t\t\"1\"\n");
            }
            for (const QString &id : wanted.keys())
                expectChange(id, wanted[id]);
            if (wanted[u"400"_s] != scanned[u"400"_s])
                expected += warningBox(
                    u"Some changes failed:\n400: post-edit verification failed for 400"_s);
            expected += questionBox(restartQuestion);
        }
        const MessageBoxAnswers boxes({steamRuns ? QMessageBox::Yes : QMessageBox::No});
        WindowUser::click(user->applyButton);
        machine->killSteamClient();
        QVERIFY(QTest::qWaitFor([this] { return !machine->isSteamClientRunning(); }));
        QCOMPARE(boxes.shown(), expected);
    }
    void expectChange(const QString &id, const QString &wanted)
    {
        const QString old = held()[id];
        const bool isTypedSince = wanted.isEmpty() && !isOwn(old);
        if (wanted == scanned[id] || (!isTypedSince && !change(id, wanted)))
            return;
        if (isOwn(wanted) && !isOwn(old) && !old.isEmpty())
            firstOptions[id] = firstOptions.value(id, old);
        scanned[id] = held()[id];
    }

    std::mt19937 random;
    std::optional<PlayersMachine> machine;
    std::optional<WindowUser> user;
    QByteArray file;    ///< Steam's, as it should be
    Texts scanned;      ///< what the window knows to be in the file
    Texts firstOptions; ///< what the program replaced first
};

QTEST_MAIN(TestRandomWalk)
#include "test_randomwalk.moc"
