// SPDX-License-Identifier: MIT
#include "app/mainwindow.h"

#include <QApplication>
#include <QIcon>

using namespace Qt::StringLiterals;

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"Marrowpulse"_s);
    // The desktop entry's base name and the icon's name in the icon theme.
    const auto applicationId = u"org.marrowpulse.Marrowpulse"_s;
    QGuiApplication::setDesktopFileName(applicationId);
    QApplication::setWindowIcon(QIcon::fromTheme(applicationId));

    MainWindow window;
    window.show();
    return QApplication::exec();
}
