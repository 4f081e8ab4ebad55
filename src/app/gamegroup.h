// SPDX-License-Identifier: MIT
#pragma once

#include <QGroupBox>

/// The group box around a game's settings. Its title holds the game's name, and does not widen the
/// window: it is cut where it does not fit.
class GameGroup : public QGroupBox
{
    Q_OBJECT

public:
    using QGroupBox::QGroupBox;
    QSize minimumSizeHint() const override;

protected:
    void initStyleOption(QStyleOptionGroupBox *option) const override;
};
