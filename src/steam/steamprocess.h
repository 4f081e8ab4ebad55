// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

// Watches the Steam client through its pid file (~/.steam/steam.pid) and the kernel's
// /proc/<pid>/exe link, and starts and stops it through the "steam" command on the search path.
namespace steam
{

/// shutdownSteam() calls it while it waits, so that the caller can repaint its window. May be
/// empty.
using ProgressTick = std::function<void()>;

/// True if the pid file names a process whose executable's path contains "steam".
bool isSteamRunning();

/// Asks the client to shut down and waits until it has, at most about `seconds`. Looks at once and
/// then every half second, and calls `tick` after each wait. True if Steam is not running at the
/// end. Does not check whether the request could be sent.
bool shutdownSteam(int seconds, const ProgressTick &tick);

/// Starts the client, which outlives this program. Reports no errors.
void startSteam();

} // namespace steam
