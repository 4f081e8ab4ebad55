// SPDX-License-Identifier: MIT
#include "launch/libraryprefix.h"

#include "base/files.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace launch
{

QString readLibraryPrefix()
{
    const QString fromEnvironment = qEnvironmentVariable("MARROWPULSE_GAMESCOPE_PREFIX");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return base::readText(QDir::homePath() + "/.config/marrowpulse/gamescope-prefix"_L1).trimmed();
}

} // namespace launch
