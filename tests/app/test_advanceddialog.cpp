// SPDX-License-Identifier: MIT
#include "app/advanceddialog.h"

#include "windowuser.h"

#include <QDialogButtonBox>
#include <QSpinBox>
#include <QTest>

using namespace Qt::StringLiterals;

namespace
{

/// The dialog on the screen, its controls found by their object names.
class DialogUser
{
public:
    DialogUser(const launch::GameSettings &settings, int refreshHz)
        : dialog(settings, refreshHz, nullptr), limitCheck(check("limitCheck")),
          automaticCheck(check("automaticCheck")), capSpin(dialog.findChild<QSpinBox *>()),
          renderResolutionCheck(check("renderResolutionCheck")),
          pacingCombo(dialog.findChild<QComboBox *>(u"pacingCombo"_s)),
          overlayCheck(check("overlayCheck")),
          buttons(dialog.findChild<QDialogButtonBox *>(u"buttons"_s))
    {
        dialog.show();
        dialog.activateWindow();
        if (!QTest::qWaitForWindowActive(&dialog))
            qFatal("the dialog did not come up");
    }

    AdvancedDialog dialog;
    QCheckBox *const limitCheck;
    QCheckBox *const automaticCheck;
    QSpinBox *const capSpin;
    QCheckBox *const renderResolutionCheck;
    QComboBox *const pacingCombo;
    QCheckBox *const overlayCheck;
    QDialogButtonBox *const buttons;

private:
    QCheckBox *check(const char *name) const
    {
        return dialog.findChild<QCheckBox *>(QString::fromLatin1(name));
    }
};

} // namespace

class TestAdvancedDialog : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void controlsHaveTheirTexts_data()
    {
        QTest::addColumn<QString>("widget");
        QTest::addColumn<QByteArray>("property");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *widget, const char *property, const QString &expected) {
            QTest::addRow("%s %s", widget, property)
                << QString::fromLatin1(widget) << QByteArray(property) << expected;
        };
        row("", "windowTitle", u"Advanced settings"_s);
        row("limitCheck", "text", u"Limit the game's frame rate"_s);
        row("automaticCheck", "text", u"Automatic (75% of the display refresh rate)"_s);
        row("capSpin", "text", u"45 fps"_s);
        row("renderResolutionCheck", "text", u"Interpolate before upscaling (recommended)"_s);
        row("renderResolutionCheck", "toolTip",
            u"Generate frames at the game's render resolution instead of the output resolution. Roughly halves the cost of frame generation. Needs a compositor built with LSFG support."_s);
        row("overlayCheck", "text", u"Show frame generation overlay in game"_s);
        row("overlayCheck", "toolTip",
            u"Draws live counters in the top-left corner: target and effective frame rate, generated and duplicated frames, and dropped frames."_s);
    }
    void controlsHaveTheirTexts()
    {
        QFETCH(const QString, widget);
        QFETCH(const QByteArray, property);
        const DialogUser user({}, 60);
        const QWidget *found =
            widget.isEmpty() ? &user.dialog : user.dialog.findChild<QWidget *>(widget);
        QTEST(found->property(property).toString(), "expected");
    }

    void groupsAndControlsStandInOrder()
    {
        const DialogUser user({}, 60);
        QStringList groups;
        for (const QGroupBox *group : user.dialog.findChildren<QGroupBox *>())
            groups.append(group->title());
        QCOMPARE(groups,
                 (QStringList{u"Frame rate cap"_s, u"Frame generation"_s, u"Diagnostics"_s}));
        int above = -1;
        for (const QWidget *widget : QList<const QWidget *>{
                 user.limitCheck, user.automaticCheck, user.capSpin, user.renderResolutionCheck,
                 user.pacingCombo, user.overlayCheck, user.buttons}) {
            const int y = widget->mapTo(&user.dialog, QPoint()).y();
            QVERIFY2(y > above, qPrintable(widget->objectName()));
            above = y;
        }
        QCOMPARE(user.buttons->buttons().size(), 2);
        QCOMPARE(user.dialog.minimumWidth(), 480);
        // The number is no wider than it needs.
        QCOMPARE(user.capSpin->width(), user.capSpin->sizeHint().width());
        QVERIFY(user.pacingCombo->width() > user.pacingCombo->sizeHint().width());
    }

    void labelsNameTheirControlsAndHelpDescribesThem()
    {
        const DialogUser user({}, 60);
        const QList<QLabel *> labels = user.dialog.findChildren<QLabel *>();
        QCOMPARE(labels.size(), 4);
        QCOMPARE(labels[0]->text(), u"Cap at:"_s);
        QCOMPARE(labels[0]->buddy(), user.capSpin);
        QCOMPARE(
            labels[1]->text(),
            u"A steady base frame rate is what frame generation interpolates from, so capping the game is the single biggest smoothness improvement available, and it is the only limiter for games that have none of their own. It costs a little input delay, because a lower base rate means each frame is held slightly longer. Detected refresh rate: 60 Hz."_s);
        QCOMPARE(labels[2]->text(), u"Presenter pacing:"_s);
        QCOMPARE(labels[2]->buddy(), user.pacingCombo);
        QCOMPARE(
            labels[3]->text(),
            u"Experimental. Holds fewer finished frames in the display queue, which cuts input delay, but leaves less slack to absorb a heavy scene. In testing it saved a few milliseconds and cost occasional dropped frames, so Off is the tested default."_s);
        for (const QLabel *help : {labels[1], labels[3]}) {
            QCOMPARE(help->styleSheet(), u"color: gray; font-size: 8pt;"_s);
            QVERIFY(help->wordWrap());
        }
        // A screen reader reads the help, too.
        QCOMPARE(user.capSpin->accessibleDescription(), labels[1]->text());
        QCOMPARE(user.pacingCombo->accessibleDescription(), labels[3]->text());
    }

    void theHelpTellsTheRefreshRate_data()
    {
        QTest::addColumn<int>("refreshHz");
        QTest::addColumn<QString>("end");
        QTest::newRow("144 Hz") << 144 << u" Detected refresh rate: 144 Hz."_s;
        QTest::newRow("1 Hz") << 1 << u" Detected refresh rate: 1 Hz."_s;
        QTest::newRow("unknown") << 0 << u" Detected refresh rate: unknown, assuming 60 Hz."_s;
        QTest::newRow("below zero") << -1 << u" Detected refresh rate: unknown, assuming 60 Hz."_s;
    }
    void theHelpTellsTheRefreshRate()
    {
        QFETCH(const int, refreshHz);
        QFETCH(const QString, end);
        const DialogUser user({}, refreshHz);
        QVERIFY(user.capSpin->accessibleDescription().endsWith(end));
    }

    void theCapIsShownAndHandedBack_data()
    {
        QTest::addColumn<bool>("framecap");
        QTest::addColumn<int>("caphz");
        QTest::addColumn<int>("refreshHz");
        QTest::addColumn<bool>("automatic");
        QTest::addColumn<int>("spin");
        QTest::addColumn<int>("result");
        QTest::newRow("automatic at 144 Hz") << true << 0 << 144 << true << 108 << 0;
        QTest::newRow("automatic, rate unknown") << true << 0 << 0 << true << 45 << 0;
        QTest::newRow("automatic at 24 Hz") << true << 0 << 24 << true << 20 << 0;
        QTest::newRow("below zero is automatic") << true << -5 << 60 << true << 45 << 0;
        QTest::newRow("exact") << true << 77 << 60 << false << 77 << 77;
        QTest::newRow("1000 is cut to 480") << true << 1000 << 60 << false << 480 << 480;
        QTest::newRow("1 is raised to 20") << true << 1 << 60 << false << 20 << 20;
        QTest::newRow("no limit, automatic") << false << 0 << 60 << true << 45 << 0;
        QTest::newRow("no limit, exact") << false << 77 << 60 << false << 77 << 77;
    }
    void theCapIsShownAndHandedBack()
    {
        QFETCH(const bool, framecap);
        QFETCH(const int, caphz);
        QFETCH(const int, refreshHz);
        QFETCH(const bool, automatic);
        const DialogUser user({.framecap = framecap, .caphz = caphz}, refreshHz);
        QCOMPARE(user.limitCheck->isChecked(), framecap);
        QCOMPARE(user.automaticCheck->isEnabled(), framecap);
        QCOMPARE(user.automaticCheck->isChecked(), automatic);
        QCOMPARE(user.capSpin->isEnabled(), framecap && !automatic);
        QTEST(user.capSpin->value(), "spin");
        QTEST(user.dialog.result().caphz, "result");
        QCOMPARE(user.dialog.result().framecap, framecap);
    }

    void withoutAutomaticTheCapStartsFromTheAutomaticOne()
    {
        const DialogUser user({}, 144);
        WindowUser::click(user.automaticCheck);
        QVERIFY(user.capSpin->isEnabled());
        QCOMPARE(user.capSpin->value(), 108);
        QCOMPARE(user.dialog.result().caphz, 108);
        user.capSpin->setFocus();
        QTest::keyClick(user.capSpin, Qt::Key_Up);
        QCOMPARE(user.dialog.result().caphz, 109);
        WindowUser::click(user.automaticCheck); // shows the cap that will be used
        QCOMPARE(user.capSpin->value(), 108);
        QVERIFY(!user.capSpin->isEnabled());
        QCOMPARE(user.dialog.result().caphz, 0);
    }

    void withoutALimitTheCapCannotBeChangedAndNothingElseIsGrey()
    {
        const DialogUser user({.framegen = false, .caphz = 77}, 60);
        WindowUser::click(user.limitCheck);
        QVERIFY(!user.automaticCheck->isEnabled());
        QVERIFY(!user.capSpin->isEnabled());
        QVERIFY(user.renderResolutionCheck->isEnabled() && user.pacingCombo->isEnabled() &&
                user.overlayCheck->isEnabled());
        QCOMPARE(user.dialog.result().framecap, false);
        QCOMPARE(user.dialog.result().caphz, 77);
        WindowUser::click(user.limitCheck);
        QVERIFY(user.automaticCheck->isEnabled());
        QVERIFY(user.capSpin->isEnabled());
        QCOMPARE(user.dialog.result().framecap, true);
    }

    void pacingIsShownAndHandedBack_data()
    {
        QTest::addColumn<int>("pacing");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<int>("result");
        QTest::newRow("off") << 0 << u"Off (recommended)"_s << 0;
        QTest::newRow("balanced") << 22 << u"Balanced"_s << 22;
        QTest::newRow("aggressive") << 14 << u"Aggressive"_s << 14;
        QTest::newRow("15, which is not offered") << 15 << u"Off (recommended)"_s << 0;
        QTest::newRow("below zero") << -22 << u"Off (recommended)"_s << 0;
    }
    void pacingIsShownAndHandedBack()
    {
        QFETCH(const int, pacing);
        const DialogUser user({.pacing = pacing}, 60);
        QCOMPARE(user.pacingCombo->count(), 3);
        QTEST(user.pacingCombo->currentText(), "shown");
        QTEST(user.dialog.result().pacing, "result");
    }

    void chosenValuesAreHandedBack()
    {
        const DialogUser user({}, 60);
        WindowUser::click(user.renderResolutionCheck);
        WindowUser::choose(user.pacingCombo, 1);
        WindowUser::click(user.overlayCheck);
        QCOMPARE(user.dialog.result(),
                 (launch::GameSettings{.renderres = false, .pacing = 22, .debugoverlay = true}));
    }

    void otherSettingsComeBackAsTheyWere()
    {
        const launch::GameSettings settings{.upscaling = false,
                                            .renderW = 1,
                                            .renderH = 2,
                                            .outputW = 3,
                                            .outputH = 4,
                                            .framegen = false,
                                            .fgbackend = 1,
                                            .holdback = 7,
                                            .framecap = false,
                                            .caphz = 99,
                                            .renderres = false,
                                            .pacing = 14,
                                            .debugoverlay = true};
        const DialogUser user(settings, 60);
        QCOMPARE(user.dialog.result(), settings);
    }
};

QTEST_MAIN(TestAdvancedDialog)
#include "test_advanceddialog.moc"
