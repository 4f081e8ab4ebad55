// SPDX-License-Identifier: MIT
#pragma once

#include "hw/gpuinfo.h"
#include "launch/gamesettings.h"

#include <QRegularExpression>
#include <QString>

// The grammar of the launch options that this program writes: composing them from a game's settings
// and reading them back. docs/launch-options.md tells what each token does.
namespace launch
{

/// The frame-rate cap in frames per second that an automatic cap stands for: three quarters of the
/// refresh rate in hertz, halves rounded up; 45 when the rate is unknown (below 1).
int defaultFrameCap(int refreshHz);

/// The cap that the settings stand for when the frame rate is limited: their own, or the automatic.
int frameCapInForce(const GameSettings &settings, int refreshHz);

/// The launch options that start a game with `settings`. `compositingGpu` drives the display,
/// `renderGpu` renders the game; `libraryPrefix` (may be empty) is where gamescope's libraries are;
/// `losslessPath` is empty when Lossless Scaling is not installed; `refreshHz` below 1 means
/// unknown. Pure: touches no file and never fails.
QString composeLaunchOptions(const GameSettings &settings, const hw::GpuInfo &compositingGpu,
                             const hw::GpuInfo &renderGpu, const QString &libraryPrefix,
                             const QString &losslessPath, int refreshHz);

/// Whether this program (an earlier version included) wrote `text`, so that it is not a user's own.
bool isOwnLaunchOptions(const QString &text);

/// Whether `text` are launch options of the user's own, to be kept when they are replaced: not
/// empty, and not written by this program.
bool isUsersOwn(const QString &text);

/// The settings that `text` expresses; what it does not say has a fixed value. Meant for texts that
/// isOwnLaunchOptions() accepts, but takes any that is well-formed, as all decoded UTF-8 is.
GameSettings parseLaunchOptions(const QString &text);

/// Capture group 1 of the first match of `pattern` in `text`, which is well-formed, as a decimal
/// number: `fallback` without a match, 0 when the number does not fit an int.
int captureInt(const QString &text, const QRegularExpression &pattern, int fallback);

} // namespace launch
