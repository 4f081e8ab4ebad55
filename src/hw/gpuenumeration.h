// SPDX-License-Identifier: MIT
#pragma once

#include "hw/gpuinfo.h"

#include <QStringList>

// Reads the machine's GPUs from files only. Nothing here fails: a file that cannot be read counts
// as empty.
namespace hw
{

/// The paths at which distributions keep the PCI ID database (pci.ids), in search order.
QStringList pciIdFiles();

/// The PCI GPUs below `drmRoot`, one for each card, in the folder's order by name as text (card10
/// before card2), without cards that are not PCI devices. Empty if `drmRoot` is missing.
QList<GpuInfo> enumerateGpus(const QString &drmRoot = QStringLiteral("/sys/class/drm"),
                             const QStringList &idFiles = pciIdFiles());

/// The content of the file at `path`, decoded as Latin-1 and trimmed; empty if it cannot be opened.
QString readSysfsText(const QString &path);

/// The device's name from the first of `idFiles` that lists it, without the vendor's name; empty if
/// none does. Both ids are hexadecimal text without "0x"; upper and lower case are equal.
/// File format: https://pci-ids.ucw.cz (vendor lines; device lines begin with one tab).
QString lookupPciName(const QString &vendorId, const QString &deviceId,
                      const QStringList &idFiles = pciIdFiles());

/// Index of the GPU that drives the display: the first with a connected output that is also the
/// firmware's boot VGA device, else the first with a connected output, else 0; -1 if `gpus` is
/// empty.
int chooseCompositingGpu(const QList<GpuInfo> &gpus);

/// Index of the GPU that games get by default: of those that do not drive the display, the one with
/// the widest link (the first of equals); `compositingIndex` if there is no other.
int chooseDefaultRenderGpu(const QList<GpuInfo> &gpus, int compositingIndex);

} // namespace hw
