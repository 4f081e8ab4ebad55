// SPDX-License-Identifier: MIT
#include "hw/pcielink.h"

#include <QRegularExpression>

using namespace Qt::StringLiterals;

namespace hw
{

double pcieLaneBandwidth(const QString &speedText)
{
    struct Generation {
        QLatin1StringView prefix; ///< transfer rate in GT/s
        double bandwidth;         ///< GB/s
    };
    static constexpr Generation generations[] = {
        {"2.5"_L1, 0.25},   {"5.0"_L1, 0.5},    {"8.0"_L1, 0.985},
        {"16.0"_L1, 1.969}, {"32.0"_L1, 3.938}, {"64.0"_L1, 7.563},
    };
    for (const Generation &generation : generations) {
        if (speedText.startsWith(generation.prefix))
            return generation.bandwidth;
    }
    return 0.0;
}

QString linkDescription(const GpuInfo &gpu)
{
    if (gpu.linkWidth <= 0)
        return u"link unknown"_s;
    static const QRegularExpression trailingPcie(u"\\s*PCIe\\s*$"_s);
    QString speed = gpu.linkSpeedText;
    speed.remove(trailingPcie);
    if (speed.isEmpty())
        speed = u"?"_s;
    return u"PCIe x%1 @ %2 (~%3 GB/s)"_s.arg(gpu.linkWidth)
        .arg(speed)
        .arg(gpu.linkBandwidth, 0, 'f', 2);
}

} // namespace hw
