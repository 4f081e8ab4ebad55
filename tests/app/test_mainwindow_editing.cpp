// SPDX-License-Identifier: MIT
#include "modaldialogs.h"
#include "windowuser.h"

#include "app/advanceddialog.h"

#include <QDialogButtonBox>
#include <QSpinBox>
#include <QTest>

#include <functional>

using namespace Qt::StringLiterals;

namespace
{

using Edit = std::function<void(WindowUser &)>;

/// Opens the advanced dialog, does `work` in it and clicks on the button.
void useAdvancedDialog(WindowUser &user, const std::function<void(AdvancedDialog *)> &work,
                       QDialogButtonBox::StandardButton button = QDialogButtonBox::Ok)
{
    const DialogVisit<AdvancedDialog> visit([&](AdvancedDialog *dialog) {
        work(dialog);
        QTest::mouseClick(dialog->findChild<QDialogButtonBox *>(u"buttons"_s)->button(button),
                          Qt::LeftButton);
    });
    user.click(user.advancedButton);
    QVERIFY(visit.hasCome());
}

} // namespace

class TestMainWindowEditing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyControlWritesItsField_data()
    {
        QTest::addColumn<QString>("from"); // the part of the default options that changes
        QTest::addColumn<QString>("to");
        QTest::addColumn<QString>("stored"); // by Apply
        QTest::addColumn<Edit>("edit");
        const auto row = [](const char *name, const QString &from, const QString &to,
                            const QString &stored, const Edit &edit) {
            QTest::newRow(name) << from << to << stored << edit;
        };
        const auto inDialog = [&row](const char *name, const QString &from, const QString &to,
                                     const QString &stored,
                                     const std::function<void(AdvancedDialog *)> &work) {
            row(name, from, to, stored,
                [work](WindowUser &user) { useAdvancedDialog(user, work); });
        };
        row("upscaling off", u"-w 1280 -h 720 -W 1920 -H 1080 -F fsr"_s,
            u"-w 1920 -h 1080 -W 1920 -H 1080"_s, u"upscaling=false"_s,
            [](WindowUser &user) { user.click(user.upscalingCheck); });
        row("render resolution", u"-w 1280 -h 720"_s, u"-w 1600 -h 900"_s, u"renderW=1600"_s,
            [](WindowUser &user) { user.choose(user.renderResCombo, 3); });
        row("output resolution", u"-W 1920 -H 1080"_s, u"-W 3840 -H 2160"_s, u"outputH=2160"_s,
            [](WindowUser &user) { user.choose(user.outputResCombo, 0); });
        row("frame generation off",
            u"GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=1 MARROWPULSE_FG_RENDER_RES=1 "_s,
            u""_s, u"framegen=false"_s, [](WindowUser &user) { user.click(user.framegenCheck); });
        row("method LSFG", u"_HOLDBACK=1"_s, u"_HOLDBACK=1 GAMESCOPE_FRAMEGEN_BACKEND=lsfg"_s,
            u"fgbackend=1"_s, [](WindowUser &user) { user.choose(user.methodCombo, 1); });
        row("hold-back of two frames", u"_HOLDBACK=1"_s, u"_HOLDBACK=2"_s, u"holdback=2"_s,
            [](WindowUser &user) { user.choose(user.holdbackCombo, 1); });
        row("frame cap off", u" -r 45"_s, u""_s, u"framecap=false"_s,
            [](WindowUser &user) { user.click(user.frameCapCheck); });
        inDialog("exact cap, in the dialog", u" -r 45"_s, u" -r 77"_s, u"caphz=77"_s,
                 [](AdvancedDialog *dialog) {
                     auto *spin = dialog->findChild<QSpinBox *>(u"capSpin"_s);
                     spin->selectAll();
                     QTest::keyClicks(spin, u"77"_s);
                 });
        inDialog("interpolation after upscaling, in the dialog", u"MARROWPULSE_FG_RENDER_RES=1 "_s,
                 u""_s, u"renderres=false"_s, [](AdvancedDialog *dialog) {
                     WindowUser::click(dialog->findChild<QCheckBox *>(u"renderResolutionCheck"_s));
                 });
        inDialog("pacing, in the dialog", u"_RENDER_RES=1"_s,
                 u"_RENDER_RES=1 MARROWPULSE_LOW_LATENCY=1.4"_s, u"pacing=14"_s,
                 [](AdvancedDialog *dialog) {
                     WindowUser::choose(dialog->findChild<QComboBox *>(u"pacingCombo"_s), 2);
                 });
        inDialog("overlay, in the dialog", u"_RENDER_RES=1"_s,
                 u"_RENDER_RES=1 GAMESCOPE_FRAMEGEN_DEBUG=1"_s, u"debugoverlay=true"_s,
                 [](AdvancedDialog *dialog) {
                     WindowUser::click(dialog->findChild<QCheckBox *>(u"overlayCheck"_s));
                 });
    }
    void everyControlWritesItsField()
    {
        QFETCH(const QString, from);
        QFETCH(const QString, to);
        QFETCH(const QString, stored);
        QFETCH(const Edit, edit);
        const PlayersMachine machine;
        machine.installLosslessScaling();
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);

        edit(user);
        QCOMPARE(user.previewLabel->text(), QString(defaultOptions).replace(from, to));
        QCOMPARE(user.statusLabel->text(),
                 u"1 game(s) with pending changes. Steam must close briefly to apply."_s);
        QVERIFY(user.applyButton->isEnabled());

        const MessageBoxAnswers boxes({QMessageBox::No});
        user.click(user.applyButton);
        QVERIFY(machine.read(machine.storePath()).contains("\n100\\" + stored.toUtf8() + '\n'));
    }

    void controlsThatDoNotApplyAreGrey_data()
    {
        QTest::addColumn<QString>("check"); // cleared
        QTest::addColumn<QStringList>("grey");
        QTest::newRow("none cleared") << QString() << QStringList();
        QTest::newRow("upscaling") << u"upscalingCheck"_s << QStringList{u"renderResCombo"_s};
        QTest::newRow("frame generation")
            << u"framegenCheck"_s << QStringList{u"methodCombo"_s, u"holdbackCombo"_s};
        QTest::newRow("frame cap") << u"frameCapCheck"_s << QStringList();
    }
    void controlsThatDoNotApplyAreGrey()
    {
        QFETCH(const QString, check);
        const PlayersMachine machine;
        machine.installGames(
            {{u"100"_s, u"Alpha"_s, defaultOptions}, {u"200"_s, u"Beta"_s, defaultOptions}});
        WindowUser user;
        const auto grey = [&user] {
            QStringList names;
            for (const QWidget *widget :
                 QList<QWidget *>{user.upscalingCheck, user.renderResCombo, user.outputResCombo,
                                  user.framegenCheck, user.methodCombo, user.holdbackCombo,
                                  user.frameCapCheck, user.advancedButton}) {
                if (!widget->isEnabled())
                    names.append(widget->objectName());
            }
            return names;
        };
        if (!check.isEmpty())
            user.click(user.window.findChild<QCheckBox *>(check));
        QTEST(grey(), "grey");
        // Not with another game, and the same when the record is shown again.
        user.select(u"Beta"_s);
        QCOMPARE(grey(), QStringList());
        user.select(u"Alpha"_s);
        QTEST(grey(), "grey");
    }

    void eachGameHasItsOwnSettings()
    {
        const PlayersMachine machine;
        machine.installGames(
            {{u"100"_s, u"Alpha"_s, defaultOptions}, {u"200"_s, u"Beta"_s, defaultOptions}});
        WindowUser user;
        user.click(user.upscalingCheck);
        user.choose(user.holdbackCombo, 1);
        user.select(u"Beta"_s);
        QVERIFY(user.upscalingCheck->isChecked());
        QCOMPARE(user.holdbackCombo->currentIndex(), 0);
        QCOMPARE(user.previewLabel->text(), defaultOptions);
        QCOMPARE(user.statusLabel->text(),
                 u"1 game(s) with pending changes. Steam must close briefly to apply."_s);
        user.select(u"Alpha"_s);
        QVERIFY(!user.upscalingCheck->isChecked());
        QCOMPARE(user.holdbackCombo->currentIndex(), 1);
    }

    void lookingAtAGameChangesNothingOfIt_data()
    {
        QTest::addColumn<QString>("usual");
        QTest::addColumn<QString>("unusual"); // what the controls cannot show or would not take
        QTest::newRow("a small render size") << u"-w 1280 -h 720"_s << u"-w 100 -h 50"_s;
        QTest::newRow("a large output size") << u"-W 1920 -H 1080"_s << u"-W 9000 -H 5000"_s;
        QTest::newRow("another hold-back") << u"HOLDBACK=1"_s << u"HOLDBACK=3"_s;
    }
    void lookingAtAGameChangesNothingOfIt()
    {
        QFETCH(const QString, usual);
        QFETCH(const QString, unusual);
        const QString options = QString(defaultOptions).replace(usual, unusual);
        const QString other = QString(defaultOptions).replace(" -r 45"_L1, QString());
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, other}, {u"200"_s, u"Beta"_s, options}});
        WindowUser user;
        user.select(u"Beta"_s);
        QCOMPARE(user.previewLabel->text(), options);
        user.select(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), other);
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
    }

    void lsfgIsStoredAsBuiltInWhileLosslessScalingIsMissing()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        user.methodCombo->setCurrentIndex(1); // no click or key gets there
        user.click(user.frameCapCheck);
        const MessageBoxAnswers boxes({QMessageBox::No});
        user.click(user.applyButton);
        QCOMPARE(machine.storedValues().value(u"config/100/fgbackend"_s), u"0"_s);
    }

    void storedLsfgShowsAsBuiltInWhileLosslessScalingIsMissing()
    {
        const PlayersMachine machine;
        machine.storeValues(
            {{u"config/100/framegen"_s, u"true"_s}, {u"config/100/fgbackend"_s, u"1"_s}});
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QCOMPARE(user.methodCombo->currentIndex(), 0);
    }

    void frameCapTextFollowsTheDialogAndTheGame()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}, {u"200"_s, u"Beta"_s}});
        WindowUser user;
        // The options that Steam holds carry a number; it is the cap from then on.
        QCOMPARE(user.frameCapCheck->text(), u"Limit frame rate to 45 fps (smoother)"_s);
        useAdvancedDialog(user, [](AdvancedDialog *dialog) {
            auto *spin = dialog->findChild<QSpinBox *>(u"capSpin"_s);
            spin->selectAll();
            QTest::keyClicks(spin, u"120"_s);
        });
        QCOMPARE(user.frameCapCheck->text(), u"Limit frame rate to 120 fps (smoother)"_s);
        user.select(u"Beta"_s);
        QCOMPARE(user.frameCapCheck->text(), u"Limit frame rate to 45 fps (smoother)"_s);
    }

    void frameCapTextTellsTheStoredCap_data()
    {
        QTest::addColumn<QString>("stored");
        QTest::addColumn<int>("shown");
        QTest::newRow("automatic") << u"0"_s << 45;
        QTest::newRow("below zero is automatic") << u"-1"_s << 45;
        QTest::newRow("the least") << u"1"_s << 1;
        QTest::newRow("any other") << u"77"_s << 77;
    }
    void frameCapTextTellsTheStoredCap()
    {
        QFETCH(const QString, stored);
        QFETCH(const int, shown);
        const PlayersMachine machine;
        machine.storeValues(
            {{u"config/100/framegen"_s, u"true"_s}, {u"config/100/caphz"_s, stored}});
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QCOMPARE(user.frameCapCheck->text(), u"Limit frame rate to %1 fps (smoother)"_s.arg(shown));
    }

    void cancelledDialogChangesNothing_data()
    {
        QTest::addColumn<bool>("byClosing");
        QTest::newRow("Cancel") << false;
        QTest::newRow("closed") << true;
    }
    void cancelledDialogChangesNothing()
    {
        QFETCH(const bool, byClosing);
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        useAdvancedDialog(
            user,
            [byClosing](AdvancedDialog *dialog) {
                for (const auto &name :
                     {u"limitCheck"_s, u"renderResolutionCheck"_s, u"overlayCheck"_s})
                    WindowUser::click(dialog->findChild<QCheckBox *>(name));
                WindowUser::choose(dialog->findChild<QComboBox *>(u"pacingCombo"_s), 1);
                if (byClosing)
                    dialog->close();
            },
            QDialogButtonBox::Cancel);
        QCOMPARE(user.previewLabel->text(), defaultOptions);
        QVERIFY(user.frameCapCheck->isChecked());
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
    }

    void dialogIsModalAndOfTheWindow()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        useAdvancedDialog(user, [&user](AdvancedDialog *dialog) {
            QCOMPARE(dialog->parentWidget(), &user.window);
            QVERIFY(dialog->isModal());
        });
    }
};

QTEST_MAIN(TestMainWindowEditing)
#include "test_mainwindow_editing.moc"
