// SPDX-License-Identifier: MIT
#pragma once

#include <QSize>
#include <QString>

class QFormLayout;
class QWidget;

// What the window and the dialog have in common.

/// Of small gray texts: the help of the dialog, the preview of the window.
inline const auto smallGrayStyle = QStringLiteral("color: gray; font-size: 8pt;");

/// Names a widget, so that tests and assistive tools can find it, and hands it back.
template <typename Widget>
Widget *named(Widget *widget, const QString &name)
{
    widget->setObjectName(name);
    return widget;
}

/// Appends a row of a label and a box whose name it is to a screen reader. The wheel gives the box
/// no focus.
void addBox(QFormLayout *form, const QString &text, QWidget *box);

/// The largest size that a window may have on the screen of `widget`: there is room left for the
/// frame that the window manager puts around it.
QSize roomForWindow(const QWidget &widget);

/// The text with places to break in words that are too long for a line.
QString breakable(QString text);
