// SPDX-License-Identifier: MIT
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

Edit inDialog(const std::function<void(AdvancedDialog *)> &work)
{
    return [work](WindowUser &user) { useAdvancedDialog(user, work); };
}

void typeCap(AdvancedDialog *dialog, const QString &cap)
{
    auto *spin = dialog->findChild<QSpinBox *>(u"capSpin"_s);
    spin->selectAll();
    QTest::keyClicks(spin, cap);
}

/// All that the window and the advanced dialog show of a game: what is checked and what the boxes
/// say, from the game's tick to the overlay.
QString look(const WindowUser &user, const QString &name)
{
    QStringList shown;
    const auto check = [&shown](const QString &what, bool isChecked) {
        shown.append(what + (isChecked ? ": yes"_L1 : ": no"_L1));
    };
    check(u"ticked"_s, user.isTicked(name));
    check(u"upscaling"_s, user.upscalingCheck->isChecked());
    shown.append(user.renderResCombo->currentText());
    shown.append(user.outputResCombo->currentText());
    check(u"frame generation"_s, user.framegenCheck->isChecked());
    shown.append(user.methodCombo->currentText());
    shown.append(user.holdbackCombo->currentText().section(u' ', 0, 1));
    check(user.frameCapCheck->text(), user.frameCapCheck->isChecked());
    if (!user.isTicked(name))
        user.toggle(name); // only an enabled game's dialog can be opened
    const DialogVisit<AdvancedDialog> visit([&](AdvancedDialog *dialog) {
        const auto isChecked = [dialog](const QString &box) {
            return dialog->findChild<QCheckBox *>(box)->isChecked();
        };
        check(u"automatic"_s, isChecked(u"automaticCheck"_s));
        shown.append(dialog->findChild<QSpinBox *>(u"capSpin"_s)->text());
        check(u"before upscaling"_s, isChecked(u"renderResolutionCheck"_s));
        shown.append(dialog->findChild<QComboBox *>(u"pacingCombo"_s)->currentText());
        check(u"overlay"_s, isChecked(u"overlayCheck"_s));
    });
    user.click(user.advancedButton);
    return shown.join(u"; "_s);
}

} // namespace

class TestMainWindowEditing : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyControlChangesThePreviewAndIsStored_data()
    {
        QTest::addColumn<QString>("from"); // the part of the default options that changes
        QTest::addColumn<QString>("to");
        QTest::addColumn<QString>("stored"); // by Apply
        QTest::addColumn<Edit>("edit");
        const auto row = [](const char *name, const QString &from, const QString &to,
                            const QString &stored, const Edit &edit) {
            QTest::newRow(name) << from << to << stored << edit;
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
        row("exact cap, in the dialog", u" -r 45"_s, u" -r 77"_s, u"caphz=77"_s,
            inDialog([](AdvancedDialog *dialog) { typeCap(dialog, u"77"_s); }));
        row("interpolation after upscaling, in the dialog", u"MARROWPULSE_FG_RENDER_RES=1 "_s,
            u""_s, u"renderres=false"_s, inDialog([](AdvancedDialog *dialog) {
                WindowUser::click(dialog->findChild<QCheckBox *>(u"renderResolutionCheck"_s));
            }));
        row("pacing, in the dialog", u"_RENDER_RES=1"_s,
            u"_RENDER_RES=1 MARROWPULSE_LOW_LATENCY=1.4"_s, u"pacing=14"_s,
            inDialog([](AdvancedDialog *dialog) {
                WindowUser::choose(dialog->findChild<QComboBox *>(u"pacingCombo"_s), 2);
            }));
        row("overlay, in the dialog", u"_RENDER_RES=1"_s,
            u"_RENDER_RES=1 GAMESCOPE_FRAMEGEN_DEBUG=1"_s, u"debugoverlay=true"_s,
            inDialog([](AdvancedDialog *dialog) {
                WindowUser::click(dialog->findChild<QCheckBox *>(u"overlayCheck"_s));
            }));
    }
    void everyControlChangesThePreviewAndIsStored()
    {
        QFETCH(const QString, from);
        QFETCH(const QString, to);
        QFETCH(const QString, stored);
        QFETCH(const Edit, edit);
        const PlayersMachine machine;
        machine.installLosslessScaling();
        machine.installGames({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));

        edit(user);
        QCOMPARE(user.previewLabel->text(), QString(defaultOptions).replace(from, to));
        QCOMPARE(user.statusLabel->text(), pendingStatus(1));
        QVERIFY(user.applyButton->isEnabled());

        user.apply();
        QVERIFY(machine.read(machine.storePath()).contains("\n100\\" + stored.toUtf8() + '\n'));
    }

    void onlyControlsWithoutEffectAreGreyAndNoOtherGameChanges_data()
    {
        QTest::addColumn<QString>("check"); // cleared
        QTest::addColumn<QStringList>("grey");
        QTest::newRow("none cleared") << QString() << QStringList();
        QTest::newRow("upscaling") << u"upscalingCheck"_s << QStringList{u"renderResCombo"_s};
        QTest::newRow("frame generation")
            << u"framegenCheck"_s << QStringList{u"methodCombo"_s, u"holdbackCombo"_s};
        QTest::newRow("frame cap") << u"frameCapCheck"_s << QStringList();
    }
    void onlyControlsWithoutEffectAreGreyAndNoOtherGameChanges()
    {
        QFETCH(const QString, check);
        const PlayersMachine machine(
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
        QCOMPARE(user.previewLabel->text(), defaultOptions);
        user.select(u"Alpha"_s);
        QTEST(grey(), "grey");
    }

    void selectingAGameChangesNothingOfIt_data()
    {
        QTest::addColumn<QString>("usual");
        QTest::addColumn<QString>("unusual"); // what the controls cannot show or would not take
        QTest::newRow("a small render size") << u"-w 1280 -h 720"_s << u"-w 100 -h 50"_s;
        QTest::newRow("a large output size") << u"-W 1920 -H 1080"_s << u"-W 9000 -H 5000"_s;
        QTest::newRow("another hold-back") << u"HOLDBACK=1"_s << u"HOLDBACK=3"_s;
    }
    void selectingAGameChangesNothingOfIt()
    {
        QFETCH(const QString, usual);
        QFETCH(const QString, unusual);
        const QString options = QString(defaultOptions).replace(usual, unusual);
        const QString other = QString(defaultOptions).replace(" -r 45"_L1, QString());
        const PlayersMachine machine(
            {{u"100"_s, u"Alpha"_s, other}, {u"200"_s, u"Beta"_s, options}});
        WindowUser user;
        user.select(u"Beta"_s);
        QCOMPARE(user.previewLabel->text(), options);
        user.select(u"Alpha"_s);
        QCOMPARE(user.previewLabel->text(), other);
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
    }

    void withoutLosslessScalingItsMethodIsNeitherShownNorStored()
    {
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s}});
        machine.write(machine.storePath(), "[config]\n100\\framegen=true\n100\\fgbackend=1\n");
        WindowUser user;
        QCOMPARE(user.methodCombo->currentIndex(), 0);
        user.toggle(u"Alpha"_s);
        user.methodCombo->setCurrentIndex(1); // no click or key gets there
        user.apply();
        QCOMPARE(machine.storedValues().value(u"config/100/fgbackend"_s), u"0"_s);
    }

    void theFrameCapTextTellsTheCapOfTheGame()
    {
        const PlayersMachine machine({{u"100"_s, u"45 in Steam"_s, defaultOptions},
                                      {u"200"_s, u"automatic"_s},
                                      {u"300"_s, u"below zero"_s},
                                      {u"400"_s, u"the least"_s}});
        machine.write(machine.storePath(), "[config]\n300\\framegen=true\n300\\caphz=-1\n"
                                           "400\\framegen=true\n400\\caphz=1\n");
        WindowUser user;
        const auto capOf = [&user](const QString &name) {
            user.select(name);
            return user.frameCapCheck->text();
        };
        const auto fortyFive = u"Limit frame rate to 45 fps (smoother)"_s;
        QCOMPARE(capOf(u"45 in Steam"_s), fortyFive);
        useAdvancedDialog(user, [](AdvancedDialog *dialog) { typeCap(dialog, u"120"_s); });
        QCOMPARE(user.frameCapCheck->text(), u"Limit frame rate to 120 fps (smoother)"_s);
        QCOMPARE(capOf(u"automatic"_s), fortyFive);
        QCOMPARE(capOf(u"below zero"_s), fortyFive);
        QCOMPARE(capOf(u"the least"_s), u"Limit frame rate to 1 fps (smoother)"_s);
    }

    void aCancelledDialogChangesNothing_data()
    {
        QTest::addColumn<bool>("byClosing");
        QTest::newRow("Cancel") << false;
        QTest::newRow("closed") << true;
    }
    void aCancelledDialogChangesNothing()
    {
        QFETCH(const bool, byClosing);
        const PlayersMachine machine({{u"100"_s, u"Alpha"_s, defaultOptions}});
        WindowUser user;
        useAdvancedDialog(
            user,
            [&](AdvancedDialog *dialog) {
                QCOMPARE(dialog->parentWidget(), &user.window);
                QVERIFY(dialog->isModal());
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
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
    }

    void noOtherSettingsFileIsRead()
    {
        const PlayersMachine machine;
        machine.write(machine.home() + u"/.config/Marrowpulse.conf"_s,
                      "[original]\n100=-x\n\n[config]\n100\\framegen=false\n");
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
        QCOMPARE(user.previewLabel->text(), QString());
        QVERIFY(user.framegenCheck->isChecked());
    }

    void aGameIsShownWithTheseSettings_data()
    {
        QTest::addColumn<QString>("options"); // that Steam holds
        QTest::addColumn<bool>("isStored");
        QTest::addColumn<QString>("shown");
        QTest::newRow("the defaults")
            << QString() << false
            << u"ticked: no; upscaling: yes; 1280x720; 1920x1080; frame generation: yes; MCFI (built-in); 1 frame; Limit frame rate to 45 fps (smoother): yes; automatic: yes; 45 fps; before upscaling: yes; Off (recommended); overlay: no"_s;
        QTest::newRow("what is stored, if the options are not the program's")
            << u"gamemoderun %command%"_s << true
            << u"ticked: no; upscaling: no; 640x360; 2560x1440; frame generation: no; LSFG (Lossless Scaling); 2 frames; Limit frame rate to 77 fps (smoother): no; automatic: no; 77 fps; before upscaling: no; Balanced; overlay: yes"_s;
        QTest::newRow("what the program's options say, whatever is stored")
            << u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=2 MARROWPULSE_FG_RENDER_RES=1 MARROWPULSE_LOW_LATENCY=1.4 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 960 -h 540 -W 3840 -H 2160 -F fsr -r 50 -f --force-windows-fullscreen -g -- %command%"_s
            << true
            << u"ticked: yes; upscaling: yes; 960x540; 3840x2160; frame generation: yes; MCFI (built-in); 2 frames; Limit frame rate to 50 fps (smoother): yes; automatic: no; 50 fps; before upscaling: yes; Aggressive; overlay: no"_s;
    }
    void aGameIsShownWithTheseSettings()
    {
        QFETCH(const QString, options);
        QFETCH(const bool, isStored);
        const PlayersMachine machine;
        machine.installLosslessScaling();
        if (isStored)
            machine.write(machine.storePath(),
                          "[config]\n100\\upscaling=false\n100\\renderW=640\n100\\renderH=360\n"
                          "100\\outputW=2560\n100\\outputH=1440\n100\\framegen=false\n"
                          "100\\fgbackend=1\n100\\holdback=2\n100\\framecap=false\n"
                          "100\\caphz=77\n100\\renderres=false\n100\\pacing=22\n"
                          "100\\debugoverlay=true\n");
        machine.installGames({{u"100"_s, u"Alpha"_s, options}});
        const WindowUser user;
        QCOMPARE(user.previewLabel->text(), options);
        QCOMPARE(user.statusLabel->text(), pendingStatus(0));
        QTEST(look(user, u"Alpha"_s), "shown");
    }
};

QTEST_MAIN(TestMainWindowEditing)
#include "test_mainwindow_editing.moc"
