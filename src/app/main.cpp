// SPDX-License-Identifier: MIT
#include "app/mainwindow.h"

#include <QApplication>
#include <QIcon>

using namespace Qt::StringLiterals;

namespace
{

/// The icon if no icon theme has it, as when the program is not installed.
QIcon builtInIcon()
{
    QIcon icon;
    for (const int size : {16, 24, 32, 48, 64, 128})
        icon.addFile(u":/icons/%1.png"_s.arg(size));
    return icon;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QCoreApplication::setApplicationName(u"Marrowpulse"_s);
    // The desktop entry's base name and the icon's name in the icon theme.
    const auto applicationId = u"org.marrowpulse.Marrowpulse"_s;
    QGuiApplication::setDesktopFileName(applicationId);
    QApplication::setWindowIcon(QIcon::fromTheme(applicationId, builtInIcon()));

    MainWindow window;
    window.show();
    return QApplication::exec();
}
