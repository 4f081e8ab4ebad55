// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

/// Names a widget, so that tests and assistive tools can find it, and hands it back.
template <typename Widget>
Widget *named(Widget *widget, const QString &name)
{
    widget->setObjectName(name);
    return widget;
}
