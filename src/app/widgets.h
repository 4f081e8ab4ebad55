// SPDX-License-Identifier: MIT
#pragma once

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QString>

// Small helpers for building the windows.

/// Names a widget, so that tests and assistive tools can find it, and hands it back.
template <typename Widget>
Widget *named(Widget *widget, const QString &name)
{
    widget->setObjectName(name);
    return widget;
}

/// Appends a row of a label and its control to `layout`; the label is the control's name to a
/// screen reader. Returns the row.
inline QHBoxLayout *addLabelledRow(QVBoxLayout *layout, const QString &text, QWidget *control,
                                   int stretch)
{
    auto *row = new QHBoxLayout;
    auto *label = new QLabel(text);
    label->setBuddy(control);
    // An editable combo box hands the keyboard focus to its line edit, which has no label.
    if (auto *edit = control->findChild<QLineEdit *>())
        edit->setAccessibleName(text);
    row->addWidget(label);
    row->addWidget(control, stretch);
    layout->addLayout(row);
    return row;
}
