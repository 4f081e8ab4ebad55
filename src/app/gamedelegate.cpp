// SPDX-License-Identifier: MIT
#include "app/gamedelegate.h"

#include "app/gameitem.h"

#include <QApplication>
#include <QPainter>

using namespace Qt::StringLiterals;

void GameDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                         const QModelIndex &index) const
{
    if (index.data(Qt::ToolTipRole).toString().isEmpty())
        return QStyledItemDelegate::paint(painter, option, index);

    // As the base class does it, but with the name elided before the mark.
    QStyleOptionViewItem row = option;
    initStyleOption(&row, index);
    const QStyle *style = row.widget ? row.widget->style() : QApplication::style();
    const int side = row.fontMetrics.xHeight() + 1;
    const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, &row, row.widget) + 1;
    const QRect text = style->subElementRect(QStyle::SE_ItemViewItemText, &row, row.widget);
    row.text =
        row.fontMetrics.elidedText(row.text, row.textElideMode, text.width() - side - 4 * margin);
    style->drawControl(QStyle::CE_ItemViewItem, &row, painter, row.widget);

    const bool isSelected = row.state.testFlag(QStyle::State_Selected);
    const QPalette::ColorGroup group =
        row.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
    const QRect place =
        QStyle::alignedRect(row.direction, Qt::AlignRight | Qt::AlignVCenter, {side, side},
                            row.rect.adjusted(2 * margin, 0, -2 * margin, 0));
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(
        row.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text));
    painter->drawEllipse(place);
    painter->restore();
}

QSize GameDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &) const
{
    // The same for every row, and found without looking at one, which would read its picture.
    QStyleOptionViewItem row = option;
    row.features = QStyleOptionViewItem::HasCheckIndicator | QStyleOptionViewItem::HasDecoration |
                   QStyleOptionViewItem::HasDisplay;
    const QStyle *style = row.widget ? row.widget->style() : QApplication::style();
    QSize size = style->sizeFromContents(QStyle::CT_ItemViewItem, &row, {}, row.widget);
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
    if (index.data(GameItem::PendingRole).toBool()) {
        option->font.setBold(true);
        option->fontMetrics = QFontMetrics(option->font);
    }
}
