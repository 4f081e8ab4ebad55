// SPDX-License-Identifier: MIT
#include "app/messages.h"

#include <QGridLayout>
#include <QLabel>
#include <QMessageBox>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// Room for the frame that the window manager puts around the box.
constexpr QSize frame(16, 64);

/// How wide QMessageBox makes itself at most, on a screen of that width; what is wider is cut.
int widestBox(int screenWidth)
{
    return screenWidth <= 1024 ? screenWidth : std::min(screenWidth - 480, 1000);
}

/// Puts the box's text into a scrolled part where the box would be taller than the screen. The box
/// takes its size from its layout when it is shown.
void scrollTallText(QMessageBox &box)
{
    auto *label = box.findChild<QLabel *>(u"qt_msgbox_label"_s);
    auto *grid = qobject_cast<QGridLayout *>(box.layout());
    if (!label || !grid)
        return;
    const QSize screen = box.screen()->availableSize();
    const QSize room = QSize(widestBox(screen.width()), screen.height()) - frame;
    const QSize others = box.sizeHint() - label->sizeHint();
    label->setWordWrap(false);
    QSize text = label->sizeHint();
    const QSize most = room - others;
    if (text.width() > most.width()) {
        label->setWordWrap(true);
        text = {most.width(), label->heightForWidth(most.width())};
    }
    if (text.height() <= most.height())
        return;

    int row = 0;
    int column = 0;
    int rows = 0;
    int columns = 0;
    grid->getItemPosition(grid->indexOf(label), &row, &column, &rows, &columns);
    auto *area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setWidget(label);
    // Of a size to read in, also where the screen is high and the lines are short.
    const QFontMetrics font = label->fontMetrics();
    const int bar = area->verticalScrollBar()->sizeHint().width() + font.averageCharWidth();
    const int width = std::max(text.width() + bar, 60 * font.averageCharWidth());
    area->setMinimumSize(std::min(width, most.width()),
                         std::min(40 * font.lineSpacing(), most.height()));
    grid->addWidget(area, row, column, rows, columns);
}

} // namespace

void warn(QWidget *parent, const QString &text)
{
    QMessageBox box(QMessageBox::Warning, u"Marrowpulse"_s, text, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText); // names of files may look like markup
    box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    scrollTallText(box);
    box.exec();
}

bool ask(QWidget *parent, const QString &text)
{
    return QMessageBox::question(parent, u"Marrowpulse"_s, text) == QMessageBox::Yes;
}
