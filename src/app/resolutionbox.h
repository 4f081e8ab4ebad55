// SPDX-License-Identifier: MIT
#pragma once

#include "app/choicebox.h"

/// The two numbers in a text such as "1920x1080"; 0 for each that is not a number.
QSize readResolution(const QString &text);

/// The text of a size, such as "1920x1080".
QString resolutionText(int width, int height);

/// An editable combo box for a size such as "1920x1080", with common sizes as items, largest first.
/// It does not complete what the user types, and Enter adds no item. The arrow and page keys and
/// the wheel step from the size that is shown, also if it is not an item.
class ResolutionBox : public ChoiceBox
{
    Q_OBJECT

public:
    ResolutionBox();
    void showResolution(int width, int height);
    /// Shows the text in red, with the reason `why` it is not accepted; an empty reason ends that.
    void setRefused(const QString &why);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    /// Chooses the next larger or smaller item than the size that is shown, if there is one.
    void step(bool toLarger);
};
