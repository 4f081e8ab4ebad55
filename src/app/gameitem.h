// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QListWidgetItem>

/// A row of the game list. Its picture is read when the row comes into view, since a large library
/// has a thousand of them, and at the size it is shown in, since some are as large as a screen. A
/// file that is no picture leaves the row without one.
class GameItem : public QListWidgetItem
{
public:
    /// Role of our own: whether the game has a pending change (bool).
    static constexpr int PendingRole = Qt::UserRole + 1;

    /// `picture` is the path of the picture's file; empty without one.
    GameItem(const QString &name, const QString &picture);
    QVariant data(int role) const override;

private:
    QString picturePath;
    mutable QIcon icon;
    mutable qreal readScale = 0; ///< pixels a point, for which the picture was read; 0 for not yet
};
