// SPDX-License-Identifier: MIT
#pragma once

#include "app/choicebox.h"

/// The two numbers of a size's text such as "1920x1080"; 0 for what is none.
QSize readResolution(const QString &text);

/// The text of a size, such as "1920x1080".
QString resolutionText(int width, int height);

/// An editable combo box for a size such as "1920x1080", with the usual sizes as items, largest
/// first. What is typed counts as it stands: nothing is completed, and Enter adds no item. The
/// arrow and page keys and the wheel step from the size that is shown, be it an item's or not.
class ResolutionBox : public ChoiceBox
{
    Q_OBJECT

public:
    ResolutionBox();
    void showResolution(int width, int height);
    /// Shows the text in red, and says why it is not accepted; an empty reason for one that is.
    void setRefused(const QString &why);

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    /// Chooses the item next to what is shown, if there is one.
    void step(bool toLarger);
};
