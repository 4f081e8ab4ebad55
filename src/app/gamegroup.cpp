// SPDX-License-Identifier: MIT
#include "app/gamegroup.h"

#include <QStyleOptionGroupBox>
#include <QStylePainter>

QSize GameGroup::minimumSizeHint() const
{
    // The base class adds the title's width.
    return {QWidget::minimumSizeHint().width(), QGroupBox::minimumSizeHint().height()};
}

void GameGroup::paintEvent(QPaintEvent *)
{
    QStyleOptionGroupBox option;
    initStyleOption(&option);
    const int room = width() - 2 * option.fontMetrics.averageCharWidth();
    option.text =
        option.fontMetrics.elidedText(option.text, Qt::ElideRight, room, Qt::TextShowMnemonic);
    QStylePainter(this).drawComplexControl(QStyle::CC_GroupBox, option);
}
