// SPDX-License-Identifier: MIT
#pragma once

#include <QScrollArea>

/// Shows a widget whole where there is room for it, and scrolls it up and down where there is not.
/// The wheel scrolls it while it is disabled, too.
class ScrolledPart : public QScrollArea
{
    Q_OBJECT

public:
    /// `leastLines` is how many lines of text there is room for in any case.
    ScrolledPart(QWidget *content, int leastLines);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool viewportEvent(QEvent *event) override;

private:
    const int leastLines;
};
