// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace launch
{

/// Where gamescope's libraries are, for LD_LIBRARY_PATH: the environment variable
/// MARROWPULSE_GAMESCOPE_PREFIX as it stands; when that is empty, the content of
/// ~/.config/marrowpulse/gamescope-prefix (UTF-8), trimmed. Empty when neither says anything.
QString readLibraryPrefix();

} // namespace launch
