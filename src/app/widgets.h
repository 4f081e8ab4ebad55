// SPDX-License-Identifier: MIT
#pragma once

#include <QSize>
#include <QString>

class QFormLayout;
class QWidget;

// Helpers that the window and the dialog share.

/// The style sheet of small gray texts: the dialog's help and the window's preview.
inline const auto smallGrayStyle = QStringLiteral("color: gray; font-size: 8pt;");

/// Names a widget, so that tests and assistive tools can find it, and returns it.
template <typename Widget>
Widget *named(Widget *widget, const QString &name)
{
    widget->setObjectName(name);
    return widget;
}

/// Appends a row with a label and a box. A screen reader reads the label as the box's name. The
/// wheel does not give the box the focus.
void addBox(QFormLayout *form, const QString &text, QWidget *box);

/// The largest size for a window on the screen of `widget`. Leaves room for the frame that the
/// window manager adds.
QSize roomForWindow(const QWidget &widget);

/// The text with places where a line can break in words that are too long for one.
QString breakable(QString text);
