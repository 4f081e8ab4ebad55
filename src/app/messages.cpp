// SPDX-License-Identifier: MIT
#include "app/messages.h"

#include "app/widgets.h"

#include <QLabel>
#include <QLayout>
#include <QMessageBox>
#include <QScrollArea>
#include <QScrollBar>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace
{

/// Makes the box's lines scroll if they need more than half the screen's height, and gives them the
/// keyboard focus.
void scrollLines(QMessageBox &box)
{
    for (QLabel *label : box.findChildren<QLabel *>()) {
        if (label->text() != box.text())
            continue;
        const int width = std::min(label->sizeHint().width(), 500);
        auto *area = new QScrollArea;
        delete box.layout()->replaceWidget(label, area);
        label->setWordWrap(true);
        area->setMinimumSize(
            width + area->verticalScrollBar()->sizeHint().width(),
            std::min(label->heightForWidth(width), roomForWindow(box).height() / 2));
        area->setFrameShape(QFrame::NoFrame);
        area->setWidgetResizable(true);
        area->setWidget(label);
        label->setFocus();
    }
}

} // namespace

void warn(QWidget *parent, const QString &text)
{
    QMessageBox box(QMessageBox::Warning, u"Marrowpulse"_s, text, QMessageBox::Ok, parent);
    box.setTextFormat(Qt::PlainText); // file names may look like markup
    box.setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    if (text.contains(u'\n'))
        scrollLines(box);
    box.exec();
}

bool ask(QWidget *parent, const QString &text)
{
    return QMessageBox::question(parent, u"Marrowpulse"_s, text) == QMessageBox::Yes;
}
