// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace hw
{

/// The display's refresh rate in whole hertz as `xrandr --current` reports it, 24 to 480; 0 when
/// unknown. Blocks for as long as xrandr runs, at most `timeLimitMs` milliseconds.
int detectRefreshRate(int timeLimitMs = 3000);

/// The refresh rate in whole hertz in the output of `xrandr --current`: that of the first current
/// mode (marked with "*"), halves rounded away from zero; 0 when there is none or when it is not
/// between 24 and 480.
int parseRefreshRate(const QString &xrandrOutput);

} // namespace hw
