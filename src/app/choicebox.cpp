// SPDX-License-Identifier: MIT
#include "app/choicebox.h"

#include <QAbstractItemView>
#include <QScreen>
#include <QScrollBar>

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
