// SPDX-License-Identifier: MIT
#pragma once

#include <QGroupBox>

/// The frame around a game's settings. Its title, which holds the game's name, does not widen the
/// window: it is shown as far as it fits.
class GameGroup : public QGroupBox
{
    Q_OBJECT

public:
    using QGroupBox::QGroupBox;
    QSize minimumSizeHint() const override;

protected:
    void initStyleOption(QStyleOptionGroupBox *option) const override;
};
