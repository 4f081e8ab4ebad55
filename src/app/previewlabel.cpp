// SPDX-License-Identifier: MIT
#include "app/previewlabel.h"

#include <QPainter>

#include <cmath>

PreviewLabel::PreviewLabel()
{
    setTextFormat(Qt::PlainText); // launch options may look like markup
    setWordWrap(true);
}

QSize PreviewLabel::minimumSizeHint() const
{
    return {fontMetrics().maxWidth(), fontMetrics().lineSpacing()};
}

int PreviewLabel::heightForWidth(int width) const
{
    return static_cast<int>(std::ceil(laidOut(width).size().height()));
}

QStaticText PreviewLabel::laidOut(int width) const
{
    QStaticText lines(text());
    lines.setTextFormat(Qt::PlainText);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    lines.setTextOption(option);
    lines.setTextWidth(width);
    lines.prepare({}, font());
    return lines;
}

void PreviewLabel::paintEvent(QPaintEvent *)
{
    QPainter(this).drawStaticText(0, 0, laidOut(width()));
}
