// SPDX-License-Identifier: MIT
#include "journey.h"

#include "app/advanceddialog.h"
#include "modaldialogs.h"
#include "model/steammodel.h"

#include <QDialogButtonBox>
#include <QFile>
#include <QLineEdit>
#include <QSpinBox>
#include <QTest>

using namespace Qt::StringLiterals;

// The steps of a journey.

namespace
{

QString textOf(const std::string &text)
{
    return QString::fromStdString(text);
}

} // namespace

Journey::Journey(unsigned seed) : random(seed)
{
    setUpGpus();
    changeWhatIsLookedUpAtStart();
    setUpSteam();
    setUpStore();
    if (oneIn(4))
        startOrKillSteam();
    startProgram();
}

void Journey::startProgram()
{
    note(u"The program starts"_s);
    user.reset();
    user.emplace();
    window.emplace(computer);
}

void Journey::step()
{
    if (!computer.steamFile && oneIn(8))
        return hideOrReturnSteamFile();
    // Where nothing can be edited, the user mostly ticks a game first.
    const bool canEdit = window->shown.groupEnabled;
    const int kind = !canEdit && pick(4) > 0 ? 0 : pick(100);
    if (kind < 9)
        clickInList(true);
    else if (kind < 18)
        clickInList(false);
    else if (kind < 31)
        clickCheckBox();
    else if (kind < 45)
        typeSize();
    else if (kind < 58)
        chooseInGroup();
    else if (kind < 63)
        chooseGpu();
    else if (kind < 72)
        useAdvancedDialog();
    else if (kind < 76)
        refresh();
    else if (kind < 87)
        apply();
    else if (kind < 90)
        installOrUninstall();
    else if (kind < 94)
        changeOptionsInSteam();
    else if (kind < 96)
        hideOrReturnSteamFile();
    else if (kind < 98)
        startOrKillSteam();
    else {
        changeWhatIsLookedUpAtStart();
        startProgram();
    }
}

void Journey::clickInList(bool onCheckBox)
{
    const int count = static_cast<int>(window->rows.size());
    if (count == 0)
        return refresh();
    // Mostly the game that is shown and cannot be edited yet.
    const int row =
        onCheckBox && !window->shown.groupEnabled && !oneIn(3) ? window->currentRow : pick(count);
    note((onCheckBox ? u"Clicks on the check box of row %1"_s : u"Clicks on row %1"_s).arg(row));
    if (onCheckBox) {
        user->toggleRow(row);
        window->toggle(row);
    } else {
        user->selectRow(row);
        window->select(row);
    }
}

void Journey::clickCheckBox()
{
    switch (pick(3)) {
    case 0:
        note(u"Clicks on upscaling"_s);
        WindowUser::click(user->upscalingCheck);
        return window->clickUpscaling();
    case 1:
        note(u"Clicks on frame generation"_s);
        WindowUser::click(user->framegenCheck);
        return window->clickFramegen();
    default:
        note(u"Clicks on the frame rate limit"_s);
        WindowUser::click(user->frameCapCheck);
        return window->clickFrameCap();
    }
}

void Journey::typeSize()
{
    const std::string text = pickFrom<std::string>(
        {"2560x1440", " 1000x600 ", "320x200", "319x200", "320x199", "7680x4320", "7681x4320",
         "640x4321", "1280x7200", "2560x", "2560X1440", "x720", "800x600x2", "1x720x1280",
         "1280x-720", "12", "", "99999999999x720"});
    const bool render = oneIn(2);
    const bool enter = oneIn(4);
    note((render ? u"Types the render size \"%1\"%2"_s : u"Types the output size \"%1\"%2"_s)
             .arg(textOf(text), enter ? u" and Enter"_s : QString()));
    QComboBox *combo = render ? user->renderResCombo : user->outputResCombo;
    WindowUser::type(combo, textOf(text));
    if (enter)
        QTest::keyClick(combo->lineEdit(), Qt::Key_Return);
    window->type(render ? window->shown.renderSize : window->shown.outputSize, text);
}

void Journey::chooseInGroup()
{
    const auto choose = [this](QComboBox *combo, int row) {
        note(u"Chooses row %1 of %2"_s.arg(row).arg(combo->objectName()));
        if (combo->isEnabled()) // else no popup opens
            WindowUser::choose(combo, row);
        return row;
    };
    switch (pick(4)) {
    case 0:
        return window->chooseSize(window->shown.renderSize, choose(user->renderResCombo, pick(7)));
    case 1:
        return window->chooseSize(window->shown.outputSize, choose(user->outputResCombo, pick(7)));
    case 2:
        return window->chooseMethod(choose(user->methodCombo, pick(2)));
    default:
        return window->chooseHoldback(choose(user->holdbackCombo, pick(2)));
    }
}

void Journey::chooseGpu()
{
    if (computer.gpus.empty())
        return refresh();
    const int row = pick(static_cast<int>(computer.gpus.size()));
    note(u"Chooses rendering GPU %1"_s.arg(row));
    WindowUser::choose(user->renderGpuCombo, row);
    window->chooseRenderGpu(row);
}

void Journey::useAdvancedDialog()
{
    if (!window->shown.groupEnabled) {
        note(u"Clicks on the advanced button, in vain"_s);
        return WindowUser::click(user->advancedButton);
    }
    note(u"Opens the advanced dialog"_s);
    model::Advanced expected = window->openAdvanced();
    const bool accept = !oneIn(3);
    const DialogVisit<AdvancedDialog> visit([&](AdvancedDialog *dialog) {
        for (int controls = 1 + pick(4); controls > 0; --controls)
            useControlOf(dialog, expected);
        note(accept ? u"    OK"_s : u"    Cancel"_s);
        auto *buttons = dialog->findChild<QDialogButtonBox *>();
        WindowUser::click(
            buttons->button(accept ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel));
    });
    WindowUser::click(user->advancedButton);
    if (!visit.hasCome())
        dialogDifferences.append(u"the advanced dialog did not come"_s);
    if (accept)
        window->acceptAdvanced(expected);
}

void Journey::useControlOf(AdvancedDialog *dialog, model::Advanced &expected)
{
    auto *limit = dialog->findChild<QCheckBox *>(u"limitCheck"_s);
    auto *automatic = dialog->findChild<QCheckBox *>(u"automaticCheck"_s);
    auto *cap = dialog->findChild<QSpinBox *>(u"capSpin"_s);
    auto *renderResolution = dialog->findChild<QCheckBox *>(u"renderResolutionCheck"_s);
    auto *pacing = dialog->findChild<QComboBox *>(u"pacingCombo"_s);
    auto *overlay = dialog->findChild<QCheckBox *>(u"overlayCheck"_s);
    const auto check = [&] {
        const auto compare = [this](const QString &what, int is, int shouldBe) {
            if (is != shouldBe)
                dialogDifferences.append(
                    u"dialog, %1: is %2, should be %3"_s.arg(what).arg(is).arg(shouldBe));
        };
        compare(u"limit"_s, limit->isChecked(), expected.limit);
        compare(u"automatic"_s, automatic->isChecked(), expected.automatic);
        compare(u"automatic enabled"_s, automatic->isEnabled(), expected.automaticEnabled());
        compare(u"cap"_s, cap->value(), expected.cap);
        compare(u"cap enabled"_s, cap->isEnabled(), expected.capEnabled());
        compare(u"render resolution"_s, renderResolution->isChecked(), expected.renderResolution);
        compare(u"pacing"_s, pacing->currentIndex(), expected.pacing);
        compare(u"overlay"_s, overlay->isChecked(), expected.overlay);
    };
    check();
    const int control = pick(6);
    note(u"    uses control %1"_s.arg(control));
    if (control == 0) {
        WindowUser::click(limit);
        expected.clickLimit();
    } else if (control == 1) {
        WindowUser::click(automatic);
        expected.clickAutomatic();
    } else if (control == 2) {
        const int value = pickFrom<int>({20, 48, 100, 480});
        if (cap->isEnabled()) {
            cap->setFocus();
            cap->selectAll();
            QTest::keyClicks(cap, QString::number(value));
        }
        expected.typeCap(value);
    } else if (control == 3) {
        WindowUser::click(renderResolution);
        expected.renderResolution = !expected.renderResolution;
    } else if (control == 4) {
        expected.pacing = pick(3);
        WindowUser::choose(pacing, expected.pacing);
    } else if (control == 5) {
        WindowUser::click(overlay);
        expected.overlay = !expected.overlay;
    }
    check();
}

void Journey::refresh()
{
    note(u"Refreshes"_s);
    WindowUser::click(user->refreshButton);
    window->refresh();
}

void Journey::apply()
{
    const bool closeSteam = !oneIn(3);
    const bool restartSteam = oneIn(8);
    note(u"Applies (Steam runs: %1, to close: %2, to restart: %3)"_s.arg(computer.steamRuns)
             .arg(closeSteam)
             .arg(restartSteam));
    QStringList expected;
    QList<QMessageBox::StandardButton> answers;
    for (const model::Box &box : window->apply(closeSteam, restartSteam)) {
        const bool asks = box.kind == model::Box::Question;
        expected.append(asks ? questionBox(textOf(box.text)) : warningBox(textOf(box.text)));
        answers.append(!asks ? QMessageBox::Ok : box.yes ? QMessageBox::Yes : QMessageBox::No);
    }
    const MessageBoxAnswers boxes(answers);
    WindowUser::click(user->applyButton);
    if (boxes.shown() != expected)
        dialogDifferences.append("message boxes: are\n    "_L1 + boxes.shown().join("\n    "_L1) +
                                 "\nshould be\n    "_L1 + expected.join("\n    "_L1));
    if (computer.steamRuns && !QTest::qWaitFor([this] { return machine.isSteamClientRunning(); }))
        dialogDifferences.append(u"Steam was not restarted"_s);
}

void Journey::changeOptionsInSteam()
{
    if (window->rows.empty() || !computer.steamFile)
        return refresh();
    model::Row row = pickFrom(window->rows);
    for (int tries = 0; tries < 3 && !row.ticked; ++tries)
        row = pickFrom(window->rows); // rather a game that the program has set up
    const std::string &appid = row.appid;
    const std::string options = randomOptions();
    note(u"In Steam's file %1 gets \"%2\""_s.arg(textOf(appid), textOf(options)));
    computer.steamFile =
        model::edit(*computer.steamFile, {{appid, textOf(options).toStdU16String()}}).text;
    writeSteamFile();
    if (oneIn(2))
        refresh();
}

void Journey::hideOrReturnSteamFile()
{
    if (computer.steamRuns)
        return refresh();
    if (computer.steamFile) {
        note(u"Steam's file goes"_s);
        hiddenFile = *computer.steamFile;
        computer.steamFile.reset();
        QFile::remove(machine.localConfig());
    } else {
        note(u"Steam's file comes back"_s);
        computer.steamFile = hiddenFile;
        writeSteamFile();
    }
}

void Journey::startOrKillSteam()
{
    if (computer.steamRuns) {
        note(u"Steam crashes"_s);
        machine.killSteamClient();
        computer.steamRuns = false;
        if (!QTest::qWaitFor([this] { return !machine.isSteamClientRunning(); }))
            qFatal("the client does not end");
    } else if (computer.steamFile) {
        note(u"Steam starts"_s);
        machine.startSteamClient();
        computer.startSteam();
    }
}
