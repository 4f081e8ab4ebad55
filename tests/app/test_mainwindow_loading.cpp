// SPDX-License-Identifier: MIT
#include "modaldialogs.h"
#include "windowuser.h"

#include "app/advanceddialog.h"

#include <QDialogButtonBox>
#include <QSpinBox>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

/// All that the controls of the window and the advanced dialog show for the selected game.
struct Shown {
    bool ticked = false;
    bool upscaling = false;
    QString renderRes;
    QString outputRes;
    bool framegen = false;
    int method = 0;
    int holdback = 0;
    bool frameCap = false;
    QString frameCapText;
    bool automatic = false;
    int cap = 0;
    bool renderResolution = false;
    QString pacing;
    bool overlay = false;

    bool operator==(const Shown &) const = default;
};

char *toString(const Shown &s)
{
    return qstrdup(qPrintable(
        u"ticked %1, upscaling %2, %3 to %4, framegen %5, method %6, "
        "hold-back %7, cap %8 \"%9\""_s.arg(s.ticked)
            .arg(s.upscaling)
            .arg(s.renderRes, s.outputRes)
            .arg(s.framegen)
            .arg(s.method)
            .arg(s.holdback)
            .arg(s.frameCap)
            .arg(s.frameCapText) +
        u", automatic %1 %2, render resolution %3, pacing %4, overlay %5"_s.arg(s.automatic)
            .arg(s.cap)
            .arg(s.renderResolution)
            .arg(s.pacing)
            .arg(s.overlay)));
}

Shown look(const WindowUser &user, const QString &name)
{
    Shown shown;
    shown.ticked = user.isTicked(name);
    shown.upscaling = user.upscalingCheck->isChecked();
    shown.renderRes = user.renderResCombo->currentText();
    shown.outputRes = user.outputResCombo->currentText();
    shown.framegen = user.framegenCheck->isChecked();
    shown.method = user.methodCombo->currentIndex();
    shown.holdback = user.holdbackCombo->currentIndex();
    shown.frameCap = user.frameCapCheck->isChecked();
    shown.frameCapText = user.frameCapCheck->text();
    if (!shown.ticked)
        user.toggle(name); // only an enabled game's dialog can be opened
    const DialogVisit<AdvancedDialog> visit([&shown](AdvancedDialog *dialog) {
        shown.automatic = dialog->findChild<QCheckBox *>(u"automaticCheck"_s)->isChecked();
        shown.cap = dialog->findChild<QSpinBox *>(u"capSpin"_s)->value();
        shown.renderResolution =
            dialog->findChild<QCheckBox *>(u"renderResolutionCheck"_s)->isChecked();
        shown.pacing = dialog->findChild<QComboBox *>(u"pacingCombo"_s)->currentText();
        shown.overlay = dialog->findChild<QCheckBox *>(u"overlayCheck"_s)->isChecked();
    });
    user.click(user.advancedButton);
    return shown;
}

const Shown defaults{false,
                     true,
                     u"1280x720"_s,
                     u"1920x1080"_s,
                     true,
                     0,
                     0,
                     true,
                     u"Limit frame rate to 45 fps (smoother)"_s,
                     true,
                     45,
                     true,
                     u"Off (recommended)"_s,
                     false};

const QMap<QString, QString> allThirteen{
    {u"config/100/upscaling"_s, u"false"_s},  {u"config/100/renderW"_s, u"640"_s},
    {u"config/100/renderH"_s, u"360"_s},      {u"config/100/outputW"_s, u"2560"_s},
    {u"config/100/outputH"_s, u"1440"_s},     {u"config/100/framegen"_s, u"false"_s},
    {u"config/100/fgbackend"_s, u"1"_s},      {u"config/100/holdback"_s, u"2"_s},
    {u"config/100/framecap"_s, u"false"_s},   {u"config/100/caphz"_s, u"77"_s},
    {u"config/100/renderres"_s, u"false"_s},  {u"config/100/pacing"_s, u"22"_s},
    {u"config/100/debugoverlay"_s, u"true"_s}};

const Shown allThirteenShown{false,
                             false,
                             u"640x360"_s,
                             u"2560x1440"_s,
                             false,
                             1,
                             1,
                             false,
                             u"Limit frame rate to 77 fps (smoother)"_s,
                             false,
                             77,
                             false,
                             u"Balanced"_s,
                             true};

} // namespace

/// What a game comes up with when it is first seen.
class TestMainWindowLoading : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aNewGameHasTheDefaults()
    {
        const PlayersMachine machine;
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QCOMPARE(look(user, u"Alpha"_s), defaults);
    }

    void foreignOptionsAndStoredKeysGiveTheStoredRecordDisabled()
    {
        const PlayersMachine machine;
        machine.installLosslessScaling();
        machine.storeValues(allThirteen);
        machine.installGames({{u"100"_s, u"Alpha"_s, u"gamemoderun %command%"_s}});
        const WindowUser user;
        QCOMPARE(user.previewLabel->text(), u"gamemoderun %command%"_s);
        QCOMPARE(look(user, u"Alpha"_s), allThirteenShown);
    }

    void ownOptionsWinOverStoredKeysAndComeUpEnabled()
    {
        const PlayersMachine machine;
        machine.storeValues(allThirteen);
        machine.installGames(
            {{u"100"_s, u"Alpha"_s,
              u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=2 MARROWPULSE_FG_RENDER_RES=1 MARROWPULSE_LOW_LATENCY=1.4 marrowpulse-gamescope --backend sdl --prefer-vk-device 1002:73bf -w 960 -h 540 -W 3840 -H 2160 -F fsr -r 50 -f --force-windows-fullscreen -g -- %command%"_s}});
        const WindowUser user;
        QCOMPARE(look(user, u"Alpha"_s), (Shown{true, true, u"960x540"_s, u"3840x2160"_s, true, 0,
                                                1, true, u"Limit frame rate to 50 fps (smoother)"_s,
                                                false, 50, true, u"Aggressive"_s, false}));
        QCOMPARE(user.statusLabel->text(), u"No pending changes."_s);
    }

    void theEightEarlyKeysAloneGiveTheLastFiveTheirDefaults()
    {
        const PlayersMachine machine;
        QMap<QString, QString> early = allThirteen;
        for (const auto &late :
             {"framecap"_L1, "caphz"_L1, "renderres"_L1, "pacing"_L1, "debugoverlay"_L1})
            early.remove("config/100/"_L1 + late);
        QCOMPARE(early.size(), 8);
        machine.storeValues(early);
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QCOMPARE(look(user, u"Alpha"_s),
                 (Shown{false, false, u"640x360"_s, u"2560x1440"_s, false, 0, 1, true,
                        u"Limit frame rate to 45 fps (smoother)"_s, true, 45, true,
                        u"Off (recommended)"_s, false}));
    }

    void withoutTheFramegenKeyAllOthersAreIgnored()
    {
        const PlayersMachine machine;
        QMap<QString, QString> values = allThirteen;
        values.remove(u"config/100/framegen"_s);
        machine.storeValues(values);
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QCOMPARE(look(user, u"Alpha"_s), defaults);
    }

    void theFramegenKeyAloneReadsTheOtherEarlyKeysAsNothing()
    {
        const PlayersMachine machine;
        machine.storeValues({{u"config/100/framegen"_s, u"true"_s}});
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QCOMPARE(look(user, u"Alpha"_s), (Shown{false, false, u"0x0"_s, u"0x0"_s, true, 0, 0, true,
                                                u"Limit frame rate to 45 fps (smoother)"_s, true,
                                                45, true, u"Off (recommended)"_s, false}));
    }

    void malformedValuesReadAsNothing()
    {
        const PlayersMachine machine;
        QMap<QString, QString> values = allThirteen;
        values[u"config/100/renderW"_s] = u"wide"_s;
        values[u"config/100/caphz"_s] = u"fast"_s;
        machine.storeValues(values);
        machine.installGames({{u"100"_s, u"Alpha"_s}});
        const WindowUser user;
        QCOMPARE(user.renderResCombo->currentText(), u"0x360"_s);
        QCOMPARE(user.frameCapCheck->text(), u"Limit frame rate to 45 fps (smoother)"_s);
    }
};

QTEST_MAIN(TestMainWindowLoading)
#include "test_mainwindow_loading.moc"
