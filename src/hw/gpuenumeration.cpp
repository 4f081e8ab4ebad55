// SPDX-License-Identifier: MIT
#include "hw/gpuenumeration.h"

#include "base/files.h"
#include "hw/pcielink.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace hw
{
namespace
{

/// The lane count in the file at `path`; 0 unless it holds a number from 1 to 32.
int readLinkWidth(const QString &path)
{
    const int width = readSysfsText(path).toInt();
    return width >= 1 && width <= 32 ? width : 0;
}

/// The first known lane count of the device and of the port above it. Ignores the device's own
/// maximum, which it may not reach in this slot.
int linkWidthOf(const QString &device, const QString &upstreamPort)
{
    for (const QString &path :
         {device + "/current_link_width"_L1, upstreamPort + "/current_link_width"_L1,
          upstreamPort + "/max_link_width"_L1}) {
        if (const int width = readLinkWidth(path))
            return width;
    }
    return 0;
}

bool hasConnectedOutput(const QString &drmRoot, const QString &card)
{
    const QDir connectors(drmRoot, card + "-*"_L1, QDir::Name | QDir::IgnoreCase,
                          QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString &connector : connectors.entryList()) {
        if (readSysfsText(drmRoot + u'/' + connector + "/status"_L1) == "connected"_L1)
            return true;
    }
    return false;
}

/// The name of the device in one database file; no value if the file does not list it. Walks over
/// the lines without splitting the file: it is large, and most of it is never looked at.
std::optional<QString> lookupPciNameInFile(const QString &path, const QString &vendorId,
                                           const QString &deviceId)
{
    const QByteArray content = base::readFile(path).value_or(QByteArray());
    bool inVendor = false;
    for (QLatin1StringView rest(content); !rest.isEmpty();) {
        const qsizetype lineBreak = rest.indexOf(QLatin1Char('\n'));
        const QLatin1StringView line = lineBreak < 0 ? rest : rest.first(lineBreak);
        rest = rest.sliced(lineBreak < 0 ? rest.size() : lineBreak + 1);
        const bool isVendorLine = !line.startsWith(QLatin1Char('\t'));
        if ((!isVendorLine && !inVendor) || line.startsWith(QLatin1Char('#')) ||
            QString(line).trimmed().isEmpty())
            continue;
        if (isVendorLine) {
            inVendor = line.startsWith(vendorId, Qt::CaseInsensitive);
        } else if (!line.startsWith("\t\t"_L1)) {
            const QLatin1StringView device = line.sliced(1);
            if (device.startsWith(deviceId, Qt::CaseInsensitive))
                return QString(device.sliced(deviceId.size())).trimmed();
        }
    }
    return std::nullopt;
}

} // namespace

QStringList pciIdFiles()
{
    return {u"/usr/share/hwdata/pci.ids"_s, u"/usr/share/misc/pci.ids"_s,
            u"/var/lib/pciutils/pci.ids"_s};
}

QString readSysfsText(const QString &path)
{
    return QString::fromLatin1(base::readFile(path).value_or(QByteArray())).trimmed();
}

QString lookupPciName(const QString &vendorId, const QString &deviceId, const QStringList &idFiles)
{
    for (const QString &path : idFiles) {
        if (const std::optional<QString> name = lookupPciNameInFile(path, vendorId, deviceId))
            return *name;
    }
    return {};
}

QList<GpuInfo> enumerateGpus(const QString &drmRoot, const QStringList &idFiles)
{
    static const QRegularExpression cardName(u"^card[0-9]+\\z"_s);

    QList<GpuInfo> gpus;
    const QDir drm(drmRoot);
    for (const QString &entry : drm.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (!cardName.match(entry).hasMatch())
            continue;
        const QString device = drmRoot + u'/' + entry + "/device"_L1;
        const QString canonicalDevice = QFileInfo(device).canonicalFilePath();

        GpuInfo gpu;
        gpu.card = entry;
        gpu.pciAddress = canonicalDevice.section(u'/', -1);
        if (!gpu.pciAddress.contains(u':'))
            continue; // not a PCI device
        gpu.pciTag = "pci-"_L1 + gpu.pciAddress;
        gpu.pciTag.replace(u':', u'_').replace(u'.', u'_');
        const QString vendorId = readSysfsText(device + "/vendor"_L1).mid(2);
        const QString deviceId = readSysfsText(device + "/device"_L1).mid(2);
        gpu.pciId = vendorId + u':' + deviceId;
        gpu.name = lookupPciName(vendorId, deviceId, idFiles);
        if (gpu.name.isEmpty())
            gpu.name = "GPU "_L1 + gpu.pciId;
        gpu.bootVga = readSysfsText(device + "/boot_vga"_L1) == "1"_L1;

        const QString upstreamPort = QFileInfo(canonicalDevice).path();
        gpu.linkWidth = linkWidthOf(device, upstreamPort);
        gpu.linkSpeedText = readSysfsText(device + "/max_link_speed"_L1);
        if (pcieLaneBandwidth(gpu.linkSpeedText) == 0.0)
            gpu.linkSpeedText = readSysfsText(upstreamPort + "/max_link_speed"_L1);
        gpu.linkBandwidth = gpu.linkWidth * pcieLaneBandwidth(gpu.linkSpeedText);
        gpu.hasConnectedOutput = hasConnectedOutput(drmRoot, entry);
        gpus.append(gpu);
    }
    return gpus;
}

int chooseCompositingGpu(const QList<GpuInfo> &gpus)
{
    if (gpus.isEmpty())
        return -1;
    int best = -1;
    for (int i = 0; i < gpus.size(); ++i) {
        if (gpus[i].hasConnectedOutput && (best < 0 || (gpus[i].bootVga && !gpus[best].bootVga)))
            best = i;
    }
    return std::max(best, 0);
}

int chooseDefaultRenderGpu(const QList<GpuInfo> &gpus, int compositingIndex)
{
    int best = -1;
    for (int i = 0; i < gpus.size(); ++i) {
        if (i != compositingIndex && (best < 0 || gpus[i].linkWidth > gpus[best].linkWidth))
            best = i;
    }
    return best < 0 ? compositingIndex : best;
}

} // namespace hw
