// SPDX-License-Identifier: MIT
#include "app/choicebox.h"

#include <QAbstractItemView>
#include <QScreen>
#include <QScrollBar>
#include <QStyleOptionComboBox>
#include <QStylePainter>

#include <algorithm>

ChoiceBox::ChoiceBox()
{
    setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    setMinimumContentsLength(12);
}

void ChoiceBox::showPopup()
{
    const int widest = view()->sizeHintForColumn(0) +
                       view()->verticalScrollBar()->sizeHint().width() + 2 * view()->frameWidth();
    view()->setMinimumWidth(std::min(widest, screen()->availableGeometry().width()));
    QComboBox::showPopup();
}

void ChoiceBox::paintEvent(QPaintEvent *event)
{
    if (isEditable()) {
        QComboBox::paintEvent(event);
        return;
    }
    // As the base class does it, but with an ellipsis for what is cut.
    QStyleOptionComboBox option;
    initStyleOption(&option);
    QStylePainter painter(this);
    painter.setPen(palette().color(QPalette::Text));
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    constexpr int margin = 2; // the style's, around the text
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    option.currentText = option.fontMetrics.elidedText(option.currentText, Qt::ElideRight,
                                                       field.width() - 2 * margin);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}
