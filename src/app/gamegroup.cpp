// SPDX-License-Identifier: MIT
#include "app/gamegroup.h"

#include <QStyleOptionGroupBox>

QSize GameGroup::minimumSizeHint() const
{
    // The base class adds the title's width.
    return {QWidget::minimumSizeHint().width(), QGroupBox::minimumSizeHint().height()};
}

void GameGroup::initStyleOption(QStyleOptionGroupBox *option) const
{
    QGroupBox::initStyleOption(option);
    QFont widest = font();
    widest.setBold(true); // as some styles write it
    const QFontMetrics metrics(widest);
    option->text =
        metrics.elidedText(option->text, Qt::ElideRight, width() - 2 * metrics.averageCharWidth(),
                           Qt::TextShowMnemonic);
}
