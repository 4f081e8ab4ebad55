// SPDX-License-Identifier: MIT
#pragma once

#include <QLabel>
#include <QScrollArea>

#include <memory>

class QTextLayout;

/// Shows launch options, which are long and may have no blank for hundreds of letters: lines are
/// broken at blanks and, in a run that is longer than a line, anywhere. Text and selection are the
/// label's own, so what is copied is a part of text().
class PreviewLabel : public QLabel
{
    Q_OBJECT

public:
    PreviewLabel();
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;
    int heightForWidth(int width) const override;

protected:
    void paintEvent(QPaintEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void mouseMoveEvent(QMouseEvent *event) override;
    void mouseReleaseEvent(QMouseEvent *event) override;
    void mouseDoubleClickEvent(QMouseEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    std::unique_ptr<QTextLayout> layOut(int width) const;
    int positionAt(QPoint place) const;
    void select(int from, int to);
    void copy() const;

    int pressedAt = 0; ///< position in the text where the mouse button went down
};

/// The room for a preview: as high as its text needs, and where there is less, scrolled. The wheel
/// scrolls it while it is disabled, too.
class PreviewArea : public QScrollArea
{
    Q_OBJECT

public:
    explicit PreviewArea(PreviewLabel *preview);
    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;
    bool viewportEvent(QEvent *event) override;

private:
    void fit();
};
