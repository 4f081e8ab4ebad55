// SPDX-License-Identifier: MIT
#include "app/widgets.h"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QScreen>

using namespace Qt::StringLiterals;

void addBox(QFormLayout *form, const QString &text, QWidget *box)
{
    box->setFocusPolicy(Qt::StrongFocus);
    // An editable combo box passes the keyboard focus to its line edit, which has no label.
    if (auto *edit = box->findChild<QLineEdit *>())
        edit->setAccessibleName(text);
    auto *label = new QLabel(text);
    label->setBuddy(box);
    label->setMinimumHeight(box->sizeHint().height()); // puts it level with the box's text
    form->addRow(label, box);
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->setHorizontalSpacing(8);
}

QSize roomForWindow(const QWidget &widget)
{
    return widget.screen()->availableSize() - QSize(16, 48);
}

QString breakable(QString text)
{
    static const QRegularExpression longRun(u"(\\S{40})"_s);
    return text.replace(longRun, u"\\1\u200b"_s);
}
