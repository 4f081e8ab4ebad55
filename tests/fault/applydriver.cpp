// SPDX-License-Identifier: MIT
// The program's own window without a person at it, on the pretend machine that it runs on.
//
//   apply-driver build FOLDER GAMES   builds a machine with that many games, each with launch
//                                     options of its own (-own and the app id)
//   apply-driver build-kinds FOLDER   builds a machine with twenty games of six kinds; what they
//                                     have is in kinds() below
//   apply-driver start                opens the window and ends: the program does start
//   apply-driver enable|disable [FROM TO]...
//                                     opens the window, renames each file FROM to TO as another
//                                     program could meanwhile, checks or unchecks every game,
//                                     applies, and answers every box: Yes to closing Steam, No to
//                                     its restart
//
// It prints its process id before anything is applied, then a line for each box that came up, and
// how many milliseconds the whole took.
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

/// Games that all have launch options of their own.
QList<support::SampleApp> ordinary(int count)
{
    QList<support::SampleApp> apps;
    for (int i = 0; i < count; ++i) {
        const QString appid = QString::number(1001 + i);
        apps.append({appid, "-own"_L1 + appid});
    }
    return apps;
}

/// 1001 to 1005 and 1018 to 1020 have launch options of their own, 1006 to 1008 none, 1009 to 1012
/// the program's, 1013 and 1014 ones with an escaped quote. 1015 to 1017 have no block.
QList<support::SampleApp> kinds()
{
    QList<support::SampleApp> apps = ordinary(20);
    for (support::SampleApp &app : apps) {
        const int appid = app.appid.toInt();
        if (appid >= 1006 && appid <= 1008)
            app.launchOptions.reset();
        else if (appid >= 1009 && appid <= 1012)
            app.launchOptions =
                u"MARROWPULSE=1 GAMESCOPE_FRAMEGEN=auto marrowpulse-gamescope -w 800 -h 600 -W 1600 -H 1200 -- %command%"_s;
        else if (appid >= 1013 && appid <= 1014)
            app.launchOptions = u"-name \\\"%1\\\" -x"_s.arg(appid);
    }
    apps.removeIf([](const support::SampleApp &app) {
        return app.appid.toInt() >= 1015 && app.appid.toInt() <= 1017;
    });
    return apps;
}

void build(support::PretendMachine &machine, int count, const QList<support::SampleApp> &apps)
{
    machine.installSteam();
    for (int i = 0; i < count; ++i) {
        const QString appid = QString::number(1001 + i);
        machine.addGame(appid, "Game "_L1 + appid);
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
    say(QString::number(QCoreApplication::applicationPid()));
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
        const int count = arguments[3].toInt();
        build(machine, count, ordinary(count));
        return 0;
    }
    if (task == "build-kinds"_L1) {
        support::PretendMachine machine(arguments[2]);
        build(machine, 20, kinds());
        const QString library = machine.addLibrary(u"second"_s);
        for (const QString &appid : {u"1018"_s, u"1019"_s, u"1020"_s})
            machine.addGame(appid, "Game "_L1 + appid, library);
        return 0;
    }
    MainWindow window;
    window.show();
    QCoreApplication::processEvents();
    for (qsizetype i = 2; i + 1 < arguments.size(); i += 2) {
        if (std::rename(qPrintable(arguments[i]), qPrintable(arguments[i + 1])) != 0)
            return 2;
    }
    if (task == "start"_L1)
        say(window.windowTitle());
    else
        apply(window, task == "enable"_L1 ? Qt::Checked : Qt::Unchecked);
    return 0;
}
