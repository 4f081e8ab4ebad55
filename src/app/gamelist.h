// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QListWidget>

/// The list of games. All rows have the same height and room for a picture, also rows without one,
/// so that the names are aligned. A game with a pending change is in bold. A game with a tool tip,
/// which shows its own launch options, has a dot behind its name. If an assistive tool selects a
/// row, the row becomes the current one.
class GameList : public QListWidget
{
    Q_OBJECT

public:
    GameList();
    /// Wide enough for a name of ordinary length in any font.
    QSize minimumSizeHint() const override;
    void keyboardSearch(const QString &letters) override;

protected:
    /// A blank that is typed within a name belongs to the search: it ticks nothing.
    bool edit(const QModelIndex &index, EditTrigger trigger, QEvent *event) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;

private:
    QElapsedTimer sinceLetter; ///< since the last letter typed to search; invalid before the first
};
