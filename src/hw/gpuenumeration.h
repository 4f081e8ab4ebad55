// SPDX-License-Identifier: MIT
#pragma once

#include "hw/gpuinfo.h"

#include <QStringList>

// The machine's GPUs, read from files only. Nothing here fails: a file that cannot be read counts
// as empty.
namespace hw
{

/// Where distributions keep the PCI ID database (pci.ids), in the order they are searched.
QStringList pciIdFiles();

/// The PCI GPUs below `drmRoot`, one for each card, in the folder's order by name as text (card10
/// before card2). Cards that are no PCI devices are left out. Empty without a DRM class.
QList<GpuInfo> enumerateGpus(const QString &drmRoot = QStringLiteral("/sys/class/drm"),
                             const QStringList &idFiles = pciIdFiles());

/// The content of the file at `path`, decoded as Latin-1 and trimmed; empty when it cannot be
/// opened.
QString readSysfsText(const QString &path);

/// The device's name from the first of `idFiles` that knows it, without the vendor's name; empty
/// when none does. Both ids are hexadecimal text without "0x", compared without regard to case.
/// File format: https://pci-ids.ucw.cz (vendor lines, device lines behind one tab).
QString lookupPciName(const QString &vendorId, const QString &deviceId,
                      const QStringList &idFiles = pciIdFiles());

/// Index of the GPU that drives the display: the first with a connected output that is also the
/// firmware's boot VGA device, else the first with a connected output, else 0; -1 for no GPUs.
int chooseCompositingGpu(const QList<GpuInfo> &gpus);

/// Index of the GPU that games are offered first: of those that do not drive the display, the one
/// with the widest link (the earlier one on ties); `compositingIndex` when there is no other.
int chooseDefaultRenderGpu(const QList<GpuInfo> &gpus, int compositingIndex);

} // namespace hw
