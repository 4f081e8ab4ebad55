// SPDX-License-Identifier: MIT
#include "app/gameitem.h"

#include "base/files.h"

#include <QBuffer>
#include <QImageReader>
#include <QListWidget>

using namespace Qt::StringLiterals;

namespace
{

/// "jpeg" or "png", by the first bytes and not by the name; empty for any other format, since some
/// of Qt's formats open further files or never end. Empty also for a picture that would take far
/// more time or memory than its size suggests: each scan of a JPEG goes through all of its pixels,
/// and each compressed text in a PNG can be 8 MB long. Encoders write some ten scans, and one text.
QByteArray formatOf(const QByteArray &bytes)
{
    if (bytes.startsWith("\xff\xd8\xff") && bytes.count("\xff\xda") <= 50)
        return "jpeg"_ba;
    if (bytes.startsWith("\x89PNG\r\n\x1a\n") && bytes.count("zTXt") + bytes.count("iTXt") <= 2)
        return "png"_ba;
    return {};
}

/// The picture, scaled to fit into `box` (in points) on a screen with `scale` pixels per point; the
/// ratio of its sides stays. None if the file is not a picture or too large: Steam's largest have
/// 3,840 x 1,240 pixels.
QPixmap readPicture(const QString &path, QSize box, qreal scale)
{
    constexpr qsizetype mostBytes = 8 * 1024 * 1024;
    constexpr int mostPixelsASide = 4096;
    constexpr int mostPixels = 5'000'000;
    QByteArray bytes = base::readFile(path).value_or(QByteArray());
    const QByteArray format = formatOf(bytes);
    if (format.isEmpty() || bytes.size() > mostBytes)
        return {};
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer, format);
    reader.setAutoDetectImageFormat(false);
    const QSize whole = reader.size();
    if (whole.isEmpty() || whole.width() > mostPixelsASide || whole.height() > mostPixelsASide ||
        whole.width() * whole.height() > mostPixels)
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
        // Without this, Qt would tint the picture of a selected row.
        for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Selected})
            icon.addPixmap(picture, mode);
    }
    return icon;
}
