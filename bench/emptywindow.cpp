// SPDX-License-Identifier: MIT
// The least that a program of this toolkit can be: what the program's own start is compared with.
#include <QApplication>
#include <QMainWindow>

int main(int argc, char **argv)
{
    QApplication application(argc, argv);
    QMainWindow window;
    window.resize(900, 620);
    window.show();
    return QApplication::exec();
}
