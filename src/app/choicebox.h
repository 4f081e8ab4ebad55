// SPDX-License-Identifier: MIT
#pragma once

#include <QComboBox>

/// A combo box whose texts, however long, do not widen its window: closed it shows what fits, its
/// popup is as wide as the widest item.
class ChoiceBox : public QComboBox
{
    Q_OBJECT

public:
    ChoiceBox();
    void showPopup() override;

protected:
    void initStyleOption(QStyleOptionComboBox *option) const override;
};
