// SPDX-License-Identifier: MIT
// An empty window: the benchmark compares the program's start with it.
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
