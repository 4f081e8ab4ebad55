// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

namespace hw
{

/// One PCI GPU of the kernel's DRM class (Linux sysfs ABI, /sys/class/drm and the PCI device
/// behind each card).
struct GpuInfo {
    QString card;                    ///< DRM entry name, e.g. card1
    QString pciAddress;              ///< domain:bus:device.function, e.g. 0000:03:00.0
    QString pciTag;                  ///< "pci-" + the address with ":" and "." as "_"
    QString pciId;                   ///< vendor:device in hexadecimal, e.g. 1002:73bf
    QString name;                    ///< from the PCI ID database, or "GPU " + pciId
    bool hasConnectedOutput = false; ///< a connector of this card has a display
    bool bootVga = false;            ///< the firmware used this device for its own screens
    QString linkSpeedText;           ///< raw sysfs link speed, e.g. "16.0 GT/s PCIe"
    int linkWidth = 0;               ///< PCIe lanes, 1 to 32; 0 when unknown
    double linkBandwidth = 0.0;      ///< GB/s over all lanes; 0.0 when unknown
};

/// "name (vendor:device)".
QString gpuDisplayName(const GpuInfo &gpu);

} // namespace hw
