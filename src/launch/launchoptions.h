// SPDX-License-Identifier: MIT
#pragma once

#include "hw/gpuinfo.h"
#include "launch/gamesettings.h"

#include <QRegularExpression>
#include <QString>

// Composes the launch options that this program writes from a game's settings, and reads them back.
// docs/launch-options.md has the grammar and explains each token.
namespace launch
{

/// The automatic frame-rate cap in frames per second: three quarters of the refresh rate in hertz,
/// halves rounded up; 45 if the rate is unknown (below 1).
int defaultFrameCap(int refreshHz);

/// The cap in frames per second of a game whose frame rate is limited: its own, or the automatic.
int frameCapInForce(const GameSettings &settings, int refreshHz);

/// The launch options that start a game with `settings`. `compositingGpu` drives the display,
/// `renderGpu` renders the game. `libraryPrefix` is the folder of gamescope's libraries, or empty.
/// `losslessPath` is empty if Lossless Scaling is not installed. A `refreshHz` below 1 means
/// unknown. Touches no file and never fails.
QString composeLaunchOptions(const GameSettings &settings, const hw::GpuInfo &compositingGpu,
                             const hw::GpuInfo &renderGpu, const QString &libraryPrefix,
                             const QString &losslessPath, int refreshHz);

/// True if this program or an earlier version of it wrote `text`.
bool isOwnLaunchOptions(const QString &text);

/// True if `text` is the user's own launch options, which must be saved before they are replaced:
/// not empty, and not written by this program.
bool isUsersOwn(const QString &text);

/// The settings that `text` expresses; a setting that it does not contain has a fixed value. `text`
/// should be accepted by isOwnLaunchOptions(), but may be any.
GameSettings parseLaunchOptions(const QString &text);

/// Capture group 1 of the first match of `pattern` in `text`, as a decimal number: `fallback`
/// without a match, 0 if the number does not fit an int.
int captureInt(const QString &text, const QRegularExpression &pattern, int fallback);

} // namespace launch
