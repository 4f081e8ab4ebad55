// SPDX-License-Identifier: MIT
#include "app/gamedelegate.h"

QSize GameDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    size.setWidth(0); // as wide as the list: a long name is elided, not scrolled
    return size;
}

void GameDelegate::initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const
{
    // The base class shrinks the decoration to the picture's own size and leaves it out without
    // one; the view's icon size is in the option before.
    const QSize box = option->decorationSize;
    QStyledItemDelegate::initStyleOption(option, index);
    option->decorationSize = box;
    option->features |= QStyleOptionViewItem::HasDecoration;
}
