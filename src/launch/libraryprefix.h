// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace launch
{

/// The folder of gamescope's libraries, for LD_LIBRARY_PATH: the environment variable
/// MARROWPULSE_GAMESCOPE_PREFIX, exactly as it is; if that is empty, the content of
/// ~/.config/marrowpulse/gamescope-prefix (UTF-8), trimmed. Empty without either.
QString readLibraryPrefix();

} // namespace launch
