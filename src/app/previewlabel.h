// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>
#include <QStaticText>

/// Shows launch options. They are long and may have no blank for hundreds of letters, so a word
/// that is longer than a line is broken anywhere.
class PreviewLabel : public QLabel
{
    Q_OBJECT

public:
    PreviewLabel();
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QStaticText laidOut(int width) const;
};
