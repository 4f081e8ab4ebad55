// SPDX-License-Identifier: MIT
#pragma once

#include <QList>

class QHBoxLayout;
class QLabel;
class QString;
class QVBoxLayout;
class QWidget;

/// Rows of a label and a box, whose boxes start at one place: the labels share the width of the
/// widest.
class LabelColumn
{
public:
    /// Appends a row to `layout` and returns it; the box has the stretch factor in it. The label is
    /// the box's name to a screen reader, and the wheel leaves the box alone unless it has the
    /// focus.
    QHBoxLayout *addRow(QVBoxLayout *layout, const QString &text, QWidget *box, int stretch);

private:
    QList<QLabel *> labels;
    int width = 0;
};
