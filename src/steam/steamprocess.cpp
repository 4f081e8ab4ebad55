// SPDX-License-Identifier: MIT
#include "steam/steamprocess.h"

#include "base/files.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QThread>

using namespace Qt::StringLiterals;

namespace steam
{

bool isSteamRunning()
{
    const QString pid = base::readText(QDir::homePath() + "/.steam/steam.pid"_L1).trimmed();
    return QFileInfo("/proc/"_L1 + pid + "/exe"_L1).symLinkTarget().contains("steam"_L1);
}

bool shutdownSteam(int seconds, const ProgressTick &tick)
{
    QProcess::startDetached(u"steam"_s, {u"-shutdown"_s});
    for (int i = 0; i < 2 * seconds; ++i) {
        if (!isSteamRunning())
            return true;
        QThread::msleep(500);
        if (tick)
            tick();
    }
    return !isSteamRunning();
}

void startSteam()
{
    QProcess::startDetached(u"steam"_s, {});
}

} // namespace steam
