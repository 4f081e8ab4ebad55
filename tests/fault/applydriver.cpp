// SPDX-License-Identifier: MIT
// Opens the program's own window on a pretend machine, and applies without a person.
//
//   apply-driver build FOLDER         builds a machine with twenty games of six kinds
//   apply-driver enable|disable [FROM TO]...
//                                     opens the window, renames each file FROM to TO as another
//                                     program could meanwhile, checks or unchecks every game,
//                                     applies, and answers every box: Yes to closing Steam, No to
//                                     its restart
//
// It prints "begin" before anything is applied, then a line for each box that came up, and how many
// milliseconds the whole took.
#include "app/mainwindow.h"
#include "support/pretendmachine.h"
#include "support/samplesteam.h"

#include <QAbstractButton>
#include <QApplication>
#include <QElapsedTimer>
#include <QListWidget>
#include <QMessageBox>
#include <QTimer>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace
{

void say(const QString &line)
{
    std::printf("%s\n", qPrintable(line));
    std::fflush(stdout);
}

/// What Steam's file says of a game: 1001 to 1005 and 1018 to 1020 have launch options of their
/// own, 1006 to 1008 none, 1009 to 1012 the program's, 1013 and 1014 ones with an escaped quote.
std::optional<QString> optionsOf(int game)
{
    if (game >= 1006 && game <= 1008)
        return {};
    if (game >= 1009 && game <= 1012)
        return u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto marrowpulse-gamescope -w 800 -h 600 -W 1600 -H 1200 -- %command%"_s;
    return (game >= 1013 && game <= 1014 ? u"-name \\\"%1\\\" -x"_s : u"-own%1"_s).arg(game);
}

/// 1015 to 1017 have no block in Steam's file, 1018 to 1020 are in two libraries.
void build(support::PretendMachine &machine)
{
    machine.installSteam();
    const QString second = machine.addLibrary(u"second"_s);
    QList<support::SampleApp> apps;
    for (int game = 1001; game <= 1020; ++game) {
        const QString appid = QString::number(game);
        machine.addGame(appid, "Game "_L1 + appid);
        if (game >= 1018)
            machine.addGame(appid, "Game "_L1 + appid, second);
        if (game < 1015 || game > 1017)
            apps.append({appid, optionsOf(game)});
    }
    machine.writeLocalConfig(support::sampleLocalConfig(apps));
    machine.addGpu({.card = u"card0"_s,
                    .address = u"0000:03:00.0"_s,
                    .bootVga = u"1"_s,
                    .connectors = {{u"DP-1"_s, u"connected"_s}}});
    machine.writePciIds("1002  Vendor\n\t73bf  Card\n");
    machine.addXrandr("  1920x1080  60.00*+\n");
}

void answerBoxes()
{
    auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
    if (!box || box->property("answered").toBool())
        return;
    box->setProperty("answered", true);
    say(box->text().replace(u'\n', u'|'));
    const bool restart = box->text().contains("Restart"_L1);
    QAbstractButton *button = box->button(restart ? QMessageBox::No : QMessageBox::Yes);
    (button ? button : box->button(QMessageBox::Ok))->click();
}

void apply(MainWindow &window, Qt::CheckState state)
{
    auto *list = window.findChild<QListWidget *>(u"gameList"_s);
    for (int row = 0; row < list->count(); ++row)
        list->item(row)->setCheckState(state);
    QTimer answers;
    QObject::connect(&answers, &QTimer::timeout, answerBoxes);
    answers.start(5);
    say(u"begin"_s);
    QElapsedTimer timer;
    timer.start();
    window.apply();
    say(QString::number(timer.elapsed()));
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString task = arguments.value(1);
    if (task == "build"_L1) {
        support::PretendMachine machine(arguments[2]);
        build(machine);
        return 0;
    }
    MainWindow window;
    window.show();
    QCoreApplication::processEvents();
    for (qsizetype i = 2; i + 1 < arguments.size(); i += 2) {
        if (std::rename(qPrintable(arguments[i]), qPrintable(arguments[i + 1])) != 0)
            return 2;
    }
    apply(window, task == "enable"_L1 ? Qt::Checked : Qt::Unchecked);
    return 0;
}
