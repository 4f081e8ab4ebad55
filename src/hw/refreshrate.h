// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace hw
{

/// The display's refresh rate in whole hertz, 24 to 480, from `xrandr --current`; 0 if unknown.
/// Blocks until xrandr ends, at most `timeLimitMs` milliseconds.
int detectRefreshRate(int timeLimitMs = 3000);

/// The refresh rate in whole hertz of the first current mode (marked with "*") in the output of
/// `xrandr --current`, halves rounded away from zero; 0 if there is no such mode, or if the rate is
/// not between 24 and 480.
int parseRefreshRate(const QString &xrandrOutput);

} // namespace hw
