// SPDX-License-Identifier: MIT
#pragma once

#include <QScrollArea>

/// Shows a widget whole if there is room, and otherwise scrolls it up and down. The wheel scrolls
/// it also while it is disabled.
class ScrolledPart : public QScrollArea
{
    Q_OBJECT

public:
    /// `leastLines` is the smallest height, in lines of text.
    ScrolledPart(QWidget *content, int leastLines);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool viewportEvent(QEvent *event) override;

private:
    const int leastLines;
};
