// SPDX-License-Identifier: MIT
#pragma once

#include <QElapsedTimer>
#include <QListWidget>

/// The list of games. Its rows are of one height, with room for a picture of the list's icon size
/// whether or not the game has one, so that the names stand in line. A game with a pending change
/// is in bold; one that has launch options of its own, of which its tool tip tells, has a mark
/// behind its name. The selected row is the current one, whoever selects it.
class GameList : public QListWidget
{
    Q_OBJECT

public:
    GameList();
    /// Has room for a name of usual length in any font.
    QSize minimumSizeHint() const override;
    void keyboardSearch(const QString &letters) override;

protected:
    /// Leaves a blank that is typed within a name to the search: it ticks nothing.
    bool edit(const QModelIndex &index, EditTrigger trigger, QEvent *event) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;

private:
    QElapsedTimer sinceLetter; ///< since the last letter that was searched for; invalid before
};
