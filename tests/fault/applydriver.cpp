// SPDX-License-Identifier: MIT
// The program's own window without a person at it, on the pretend machine that it runs on.
//
//   apply-driver build FOLDER GAMES   builds a machine with that many games, each with launch
//                                     options of its own (-own and the app id)
//   apply-driver start                opens the window and ends: the program does start
//   apply-driver enable|disable       opens the window, checks or unchecks every game, applies, and
//                                     answers every box: Yes to closing Steam, No to its restart
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

void build(const QString &folder, int count)
{
    support::PretendMachine machine(folder);
    machine.installSteam();
    QList<support::SampleApp> apps;
    for (int i = 0; i < count; ++i) {
        const QString appid = QString::number(1001 + i);
        machine.addGame(appid, "Game "_L1 + appid);
        apps.append({appid, "-own"_L1 + appid});
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
        build(arguments[2], arguments[3].toInt());
        return 0;
    }
    MainWindow window;
    window.show();
    QCoreApplication::processEvents();
    if (task == "start"_L1)
        say(window.windowTitle());
    else
        apply(window, task == "enable"_L1 ? Qt::Checked : Qt::Unchecked);
    return 0;
}
