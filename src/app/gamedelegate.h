// SPDX-License-Identifier: MIT
#pragma once

#include <QStyledItemDelegate>

/// Draws the rows of the game list: all of one height, with room for a picture of the list's icon
/// size whether or not the game has one, so that the names stand in line. A game with a pending
/// change is in bold; one that has launch options of its own, of which its tool tip tells, has a
/// small mark at the row's end.
class GameDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    using QStyledItemDelegate::QStyledItemDelegate;
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override;
};
