// SPDX-License-Identifier: MIT
#include "app/scrolledpart.h"

#include <QScrollBar>
#include <QWheelEvent>

ScrolledPart::ScrolledPart(QWidget *content, int lines) : leastLines(lines)
{
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    setWidget(content);
    viewport()->setAutoFillBackground(false);
    content->setAutoFillBackground(false);
}

QSize ScrolledPart::sizeHint() const
{
    QSize size = widget()->sizeHint();
    if (widget()->hasHeightForWidth())
        size.setHeight(widget()->heightForWidth(size.width()));
    return size;
}

QSize ScrolledPart::minimumSizeHint() const
{
    return {widget()->minimumSizeHint().width() + verticalScrollBar()->sizeHint().width(),
            leastLines * widget()->fontMetrics().lineSpacing()};
}

bool ScrolledPart::viewportEvent(QEvent *event)
{
    if (event->type() == QEvent::LayoutRequest)
        updateGeometry(); // because the content's size has changed
    if (event->type() != QEvent::Wheel || isEnabled() || verticalScrollBar()->maximum() == 0)
        return QScrollArea::viewportEvent(event);
    const int turned = static_cast<QWheelEvent *>(event)->angleDelta().y();
    verticalScrollBar()->setValue(verticalScrollBar()->value() - turned / 2);
    return true;
}
