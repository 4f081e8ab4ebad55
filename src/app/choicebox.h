// SPDX-License-Identifier: MIT
#pragma once

#include <QComboBox>

/// A combo box whose long texts do not widen its window. The closed box shows as much of a text as
/// fits; its popup is as wide as the widest item.
class ChoiceBox : public QComboBox
{
    Q_OBJECT

public:
    ChoiceBox();
    void showPopup() override;

protected:
    void initStyleOption(QStyleOptionComboBox *option) const override;
};
