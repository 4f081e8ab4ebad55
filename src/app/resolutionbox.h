// SPDX-License-Identifier: MIT
#pragma once

#include "app/choicebox.h"

/// An editable combo box for a size such as "1920x1080", with the usual sizes as items, largest
/// first. What is typed counts as it stands: nothing is completed, and Enter adds no item. The
/// arrow and page keys and the wheel step from the size that is shown, be it an item's or not.
class ResolutionBox : public ChoiceBox
{
    Q_OBJECT

public:
    ResolutionBox();
    void showResolution(int width, int height);
    /// Shows the text in red while it is not the size in force.
    void setRefused(bool isRefused);

protected:
    void changeEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;

private:
    void colourText();
    void stepToLarger();
    void stepToSmaller();
    void choose(int index);
    int firstNotLarger() const;

    int wheelRest = 0; ///< turned since the last step, in eighths of a degree
    bool refused = false;
};
