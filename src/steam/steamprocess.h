// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

// The Steam client as a process, seen through its pid file (~/.steam/steam.pid) and the kernel's
// /proc/<pid>/exe link, and spoken to through the "steam" command on the search path.
namespace steam
{

/// Called while waiting, so that the caller can keep its window alive. May be empty.
using ProgressTick = std::function<void()>;

/// Whether the pid file names a process whose executable's path contains "steam".
bool isSteamRunning();

/// Asks the client to shut down and waits for it, at most about `seconds`. Looks every half second,
/// the first time at once, and calls `tick` after each wait. True when Steam is not running at the
/// end. Whether the request could be sent is not examined.
bool shutdownSteam(int seconds, const ProgressTick &tick);

/// Starts the client; it outlives this program. Nothing is reported.
void startSteam();

} // namespace steam
