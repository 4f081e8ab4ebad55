// SPDX-License-Identifier: MIT
#include "modaldialogs.h"
#include "windowuser.h"

#include "app/advanceddialog.h"

#include <QSpinBox>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

/// All that the window and the advanced dialog show of a game: what is checked and what the boxes
/// say, from the game's tick to the overlay.
QStringList look(const WindowUser &user, const QString &name)
{
    QStringList shown;
    const auto check = [&shown](const QString &what, bool isChecked) {
        shown.append(what + (isChecked ? " yes"_L1 : " no"_L1));
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
    return shown;
}

} // namespace

/// What a game comes up with when it is first seen.
class TestMainWindowLoading : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    /// A user may have defaults for all programs of this name in a further file.
    void onlyTheStoresOwnFileCounts()
    {
        const PlayersMachine machine;
        machine.write(machine.home() + u"/.config/Marrowpulse.conf"_s,
                      "[original]\n100=-x\n\n[config]\n100\\framegen=false\n");
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        QCOMPARE(user.previewLabel->text(), QString());
        QVERIFY(user.framegenCheck->isChecked());
    }

    void aGameComesUpWith_data()
    {
        QTest::addColumn<QString>("options"); // that Steam holds
        QTest::addColumn<bool>("isStored");
        QTest::addColumn<QStringList>("shown");
        QTest::newRow("the defaults") << QString() << false
                                      << QStringList{u"ticked no"_s,
                                                     u"upscaling yes"_s,
                                                     u"1280x720"_s,
                                                     u"1920x1080"_s,
                                                     u"frame generation yes"_s,
                                                     u"MCFI (built-in)"_s,
                                                     u"1 frame"_s,
                                                     u"Limit frame rate to 45 fps (smoother) yes"_s,
                                                     u"automatic yes"_s,
                                                     u"45 fps"_s,
                                                     u"before upscaling yes"_s,
                                                     u"Off (recommended)"_s,
                                                     u"overlay no"_s};
        QTest::newRow("what is stored, where the options are not the program's")
            << u"gamemoderun %command%"_s << true
            << QStringList{u"ticked no"_s,
                           u"upscaling no"_s,
                           u"640x360"_s,
                           u"2560x1440"_s,
                           u"frame generation no"_s,
                           u"LSFG (Lossless Scaling)"_s,
                           u"2 frames"_s,
                           u"Limit frame rate to 77 fps (smoother) no"_s,
                           u"automatic no"_s,
                           u"77 fps"_s,
                           u"before upscaling no"_s,
                           u"Balanced"_s,
                           u"overlay yes"_s};
        QTest::newRow("what the program's options say, whatever is stored")
            << u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=2 MARROWPULSE_FG_RENDER_RES=1 MARROWPULSE_LOW_LATENCY=1.4 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 960 -h 540 -W 3840 -H 2160 -F fsr -r 50 -f --force-windows-fullscreen -g -- %command%"_s
            << true
            << QStringList{u"ticked yes"_s,
                           u"upscaling yes"_s,
                           u"960x540"_s,
                           u"3840x2160"_s,
                           u"frame generation yes"_s,
                           u"MCFI (built-in)"_s,
                           u"2 frames"_s,
                           u"Limit frame rate to 50 fps (smoother) yes"_s,
                           u"automatic no"_s,
                           u"50 fps"_s,
                           u"before upscaling yes"_s,
                           u"Aggressive"_s,
                           u"overlay no"_s};
    }
    void aGameComesUpWith()
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
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
        QTEST(look(user, u"Alpha"_s), "shown");
    }
};

QTEST_MAIN(TestMainWindowLoading)
#include "test_mainwindow_loading.moc"
