// SPDX-License-Identifier: MIT
#include "app/labelcolumn.h"

#include "app/wheelguard.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>

#include <algorithm>

QHBoxLayout *LabelColumn::addRow(QVBoxLayout *layout, const QString &text, QWidget *box,
                                 int stretch)
{
    auto *row = new QHBoxLayout;
    row->setSpacing(box->style()->pixelMetric(QStyle::PM_LayoutHorizontalSpacing));
    auto *label = new QLabel(text);
    label->setBuddy(box);
    // An editable combo box hands the keyboard focus to its line edit, which has no label.
    if (auto *edit = box->findChild<QLineEdit *>())
        edit->setAccessibleName(text);
    new WheelGuard(box);
    row->addWidget(label);
    row->addWidget(box, stretch);
    layout->addLayout(row);

    labels.append(label);
    width = std::max(width, label->sizeHint().width());
    for (QLabel *other : labels)
        other->setMinimumWidth(width);
    return row;
}
