// SPDX-License-Identifier: MIT
#include "app/choicebox.h"

#include <QAbstractItemView>
#include <QScreen>
#include <QScrollBar>
#include <QStyleOptionComboBox>

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

void ChoiceBox::initStyleOption(QStyleOptionComboBox *option) const
{
    QComboBox::initStyleOption(option);
    const QRect field =
        style()->subControlRect(QStyle::CC_ComboBox, option, QStyle::SC_ComboBoxEditField, this);
    const QFontMetrics &metrics = option->fontMetrics;
    option->currentText = metrics.elidedText(option->currentText, Qt::ElideRight,
                                             field.width() - metrics.averageCharWidth());
}
