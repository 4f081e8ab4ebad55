// SPDX-License-Identifier: MIT
#include "hw/refreshrate.h"

#include <QDeadlineTimer>
#include <QProcess>
#include <QRegularExpression>

#include <cmath>
#include <memory>

using namespace Qt::StringLiterals;

namespace hw
{

int detectRefreshRate(int timeLimitMs)
{
    constexpr qsizetype largestOutput = 1024 * 1024; // ten screens make some 30 KB
    auto process = std::make_unique<QProcess>();
    process->setStandardErrorFile(QProcess::nullDevice()); // else QProcess keeps it in memory
    process->start(u"xrandr"_s, {u"--current"_s});
    QByteArray output;
    const QDeadlineTimer deadline(timeLimitMs);
    while (output.size() <= largestOutput &&
           process->waitForReadyRead(static_cast<int>(deadline.remainingTime())))
        output += process->readAllStandardOutput();
    const bool isTooMuch = output.size() > largestOutput;
    if (process->state() != QProcess::NotRunning &&
        (isTooMuch || !process->waitForFinished(static_cast<int>(deadline.remainingTime())))) {
        // QProcess's destructor would wait for xrandr again: delete the object when xrandr is dead.
        QObject::connect(process.get(), &QProcess::finished, process.get(), &QObject::deleteLater);
        process.release()->kill();
        return 0;
    }
    if (process->exitStatus() != QProcess::NormalExit)
        return 0;
    output += process->readAllStandardOutput();
    return parseRefreshRate(QString::fromUtf8(output));
}

int parseRefreshRate(const QString &xrandrOutput)
{
    static const QRegularExpression currentRate(u"([0-9]+\\.[0-9]+)\\*"_s);
    const double rate = std::round(currentRate.match(xrandrOutput).captured(1).toDouble());
    return rate >= 24 && rate <= 480 ? static_cast<int>(rate) : 0;
}

} // namespace hw
