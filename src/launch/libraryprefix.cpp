// SPDX-License-Identifier: MIT
#include "launch/libraryprefix.h"

#include <QDir>
#include <QFile>

using namespace Qt::StringLiterals;

namespace launch
{

QString readLibraryPrefix()
{
    const QString fromEnvironment = qEnvironmentVariable("MARROWPULSE_GAMESCOPE_PREFIX");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    QFile file(QDir::homePath() + "/.config/marrowpulse/gamescope-prefix"_L1);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).trimmed();
}

} // namespace launch
