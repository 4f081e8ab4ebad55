// SPDX-License-Identifier: MIT
#pragma once

#include <QIcon>
#include <QListWidgetItem>

/// A row of the game list. It reads its picture when it comes into view, because a large library
/// has a thousand, and scales it while reading, because some are as large as a screen. If the file
/// is not a picture, the row has none.
class GameItem : public QListWidgetItem
{
public:
    /// Role of this program: true if the game has a pending change (bool).
    static constexpr int PendingRole = Qt::UserRole + 1;

    /// `picture` is the path of the picture's file, or empty.
    GameItem(const QString &name, const QString &picture);
    QVariant data(int role) const override;

private:
    QString picturePath;
    mutable QIcon icon;
    mutable qreal readScale = 0; ///< pixels per point when the picture was read; 0 before
};
