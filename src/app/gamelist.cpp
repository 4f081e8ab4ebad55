// SPDX-License-Identifier: MIT
#include "app/gamelist.h"

#include "app/gameitem.h"

#include <QApplication>
#include <QStyledItemDelegate>

using namespace Qt::StringLiterals;

namespace
{

class RowDelegate : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override
    {
        // No wider than the list: a long name is cut, not scrolled.
        return {0, QStyledItemDelegate::sizeHint(option, index).height()};
    }

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        // The base class shrinks the room for the picture to the picture's size, and removes it
        // from rows without a picture. Before the call, the option holds the list's icon size.
        const QSize box = option->decorationSize;
        QStyledItemDelegate::initStyleOption(option, index);
        option->decorationSize = box;
        option->features |= QStyleOptionViewItem::HasDecoration;
        if (!index.data(Qt::ToolTipRole).toString().isEmpty()) {
            option->text += u"  \u2022"_s;
            option->textElideMode = Qt::ElideMiddle; // keeps the dot behind a long name
        }
        option->font.setBold(index.data(GameItem::PendingRole).toBool());
        option->fontMetrics = QFontMetrics(option->font);
    }
};

} // namespace

GameList::GameList()
{
    setAccessibleName(u"Games"_s);
    setIconSize(QSize(32, 32));
    setItemDelegate(new RowDelegate(this));
    setUniformItemSizes(true);
}

QSize GameList::minimumSizeHint() const
{
    return {iconSize().width() + 20 * fontMetrics().averageCharWidth(),
            QListWidget::minimumSizeHint().height()};
}

void GameList::keyboardSearch(const QString &letters)
{
    if (letters != u' ')
        sinceLetter.start();
    QListWidget::keyboardSearch(letters);
}

bool GameList::edit(const QModelIndex &index, EditTrigger trigger, QEvent *event)
{
    const bool isSearching =
        sinceLetter.isValid() && !sinceLetter.hasExpired(QApplication::keyboardInputInterval());
    if (trigger == AnyKeyPressed && isSearching)
        return false;
    return QListWidget::edit(index, trigger, event);
}

void GameList::selectionChanged(const QItemSelection &selected, const QItemSelection &deselected)
{
    QListWidget::selectionChanged(selected, deselected);
    setCurrentIndex(selected.isEmpty() ? currentIndex() : selected.indexes().first());
}
