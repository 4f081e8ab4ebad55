// SPDX-License-Identifier: MIT
#include "app/previewlabel.h"

#include <QClipboard>
#include <QContextMenuEvent>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QMenu>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>
#include <QTextLayout>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace
{

/// Takes back from a line what stands after its last blank, if it has one.
void endAtBlank(QTextLine &line, const QString &text)
{
    const int start = line.textStart();
    int wanted = line.textLength();
    if (start + wanted == text.size())
        return;
    while (wanted > 0 && !text[start + wanted - 1].isSpace())
        --wanted;
    // A column is a letter with all its marks, so as many columns may be more text than wanted.
    for (int columns = wanted; line.textLength() != wanted && columns > 0; --columns)
        line.setNumColumns(columns);
}

} // namespace

PreviewLabel::PreviewLabel()
{
    setTextFormat(Qt::PlainText); // launch options may look like markup
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setWordWrap(true);
    setCursor(Qt::IBeamCursor);
}

QSize PreviewLabel::sizeHint() const
{
    return minimumSizeHint();
}

QSize PreviewLabel::minimumSizeHint() const
{
    return {fontMetrics().maxWidth(), fontMetrics().lineSpacing()};
}

int PreviewLabel::heightForWidth(int width) const
{
    return static_cast<int>(std::ceil(layOut(width)->boundingRect().height()));
}

std::unique_ptr<QTextLayout> PreviewLabel::layOut(int width) const
{
    QString shown = text();
    shown.replace(u'\n', QChar::LineSeparator);
    auto layout = std::make_unique<QTextLayout>(shown, font());
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAnywhere);
    layout->setTextOption(option);
    layout->beginLayout();
    qreal y = 0;
    for (QTextLine line = layout->createLine(); line.isValid(); line = layout->createLine()) {
        line.setLineWidth(width);
        endAtBlank(line, shown);
        line.setPosition({0, y});
        y += line.height();
    }
    layout->endLayout();
    return layout;
}

int PreviewLabel::positionAt(QPoint place) const
{
    const auto layout = layOut(width());
    for (int i = 0; i < layout->lineCount(); ++i) {
        const QTextLine line = layout->lineAt(i);
        if (place.y() < line.y() + line.height())
            return line.xToCursor(place.x());
    }
    return static_cast<int>(text().size());
}

void PreviewLabel::select(int from, int to)
{
    setSelection(std::min(from, to), std::abs(to - from));
}

void PreviewLabel::copy() const
{
    if (hasSelectedText())
        QGuiApplication::clipboard()->setText(text().mid(selectionStart(), selectedText().size()));
}

void PreviewLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    QList<QTextLayout::FormatRange> selections;
    if (hasSelectedText()) {
        QTextCharFormat format;
        format.setForeground(palette().highlightedText());
        format.setBackground(palette().highlight());
        selections.append({selectionStart(), static_cast<int>(selectedText().size()), format});
    }
    layOut(width())->draw(&painter, {}, selections);
}

void PreviewLabel::mousePressEvent(QMouseEvent *event)
{
    if (event->button() != Qt::LeftButton)
        return;
    pressedAt = positionAt(event->position().toPoint());
    select(pressedAt, pressedAt);
}

void PreviewLabel::mouseMoveEvent(QMouseEvent *event)
{
    if (event->buttons() & Qt::LeftButton)
        select(pressedAt, positionAt(event->position().toPoint()));
}

void PreviewLabel::mouseReleaseEvent(QMouseEvent *)
{
    QClipboard *clipboard = QGuiApplication::clipboard();
    if (hasSelectedText() && clipboard->supportsSelection())
        clipboard->setText(text().mid(selectionStart(), selectedText().size()),
                           QClipboard::Selection);
}

void PreviewLabel::mouseDoubleClickEvent(QMouseEvent *event)
{
    // What stands between two blanks is one option.
    const QString shown = text();
    const int place = positionAt(event->position().toPoint());
    int from = place;
    int to = place;
    while (from > 0 && !shown[from - 1].isSpace())
        --from;
    while (to < shown.size() && !shown[to].isSpace())
        ++to;
    select(from, to);
}

void PreviewLabel::contextMenuEvent(QContextMenuEvent *event)
{
    QMenu menu(this);
    QAction *copyAction = menu.addAction(u"&Copy"_s);
    copyAction->setEnabled(hasSelectedText());
    QAction *selectAllAction = menu.addAction(u"Select All"_s);
    selectAllAction->setEnabled(!text().isEmpty());
    const QAction *chosen = menu.exec(event->globalPos());
    if (chosen == copyAction)
        copy();
    else if (chosen == selectAllAction)
        select(0, static_cast<int>(text().size()));
}

void PreviewLabel::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy))
        copy();
    else if (event->matches(QKeySequence::SelectAll))
        select(0, static_cast<int>(text().size()));
    else
        event->ignore();
}

PreviewArea::PreviewArea(PreviewLabel *preview)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setWidgetResizable(true);
    setWidget(preview);
    viewport()->setAutoFillBackground(false);
    preview->setAutoFillBackground(false);
}

QSize PreviewArea::sizeHint() const
{
    return {minimumSizeHint().width(),
            std::max(minimumSizeHint().height(), widget()->heightForWidth(width()))};
}

QSize PreviewArea::minimumSizeHint() const
{
    return {widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width(),
            2 * widget()->fontMetrics().lineSpacing()};
}

void PreviewArea::resizeEvent(QResizeEvent *event)
{
    QScrollArea::resizeEvent(event);
    fit();
}

/// Another text or another width needs another height. Left to itself, the base class keeps a
/// scroll bar once it is there, since it makes the text longer.
void PreviewArea::fit()
{
    const bool fits = widget()->heightForWidth(width()) <= height();
    setVerticalScrollBarPolicy(fits ? Qt::ScrollBarAlwaysOff : Qt::ScrollBarAlwaysOn);
    updateGeometry();
}

bool PreviewArea::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::LayoutRequest)
        fit();
    if (event->type() == QEvent::Wheel && !isEnabled()) {
        const int turned = static_cast<QWheelEvent *>(event)->angleDelta().y();
        verticalScrollBar()->setValue(verticalScrollBar()->value() - turned / 2);
        return true;
    }
    return QScrollArea::viewportEvent(event);
}
