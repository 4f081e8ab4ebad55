// SPDX-License-Identifier: MIT
#include "app/gameitem.h"

#include "base/readfile.h"

#include <QBuffer>
#include <QImageReader>
#include <QListWidget>

namespace
{

/// The picture as it fills a box of that size in points, with its shape kept, on a screen of
/// `scale` pixels a point.
QPixmap readPicture(const QString &path, QSize box, qreal scale)
{
    QByteArray bytes = base::readFile(path).value_or(QByteArray());
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    const QSize whole = reader.size();
    if (whole.isEmpty())
        return {};
    const QSizeF shown = QSizeF(whole).scaled(QSizeF(box) * scale, Qt::KeepAspectRatio);
    reader.setScaledSize(shown.toSize().expandedTo({1, 1}));
    return QPixmap::fromImageReader(&reader);
}

} // namespace

GameItem::GameItem(const QString &name, const QString &picture)
    : QListWidgetItem(name), picturePath(picture)
{
}

QVariant GameItem::data(int role) const
{
    if (role != Qt::DecorationRole || picturePath.isEmpty())
        return QListWidgetItem::data(role);
    const QListWidget *list = listWidget();
    const qreal scale = list->devicePixelRatioF();
    if (readScale != scale) {
        readScale = scale;
        const QPixmap picture = readPicture(picturePath, list->iconSize(), scale);
        icon = QIcon();
        // Selected rows show it in its own colours, too.
        for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Selected})
            icon.addPixmap(picture, mode);
    }
    return icon;
}
