// SPDX-License-Identifier: MIT
#pragma once

#include "hw/gpuinfo.h"

// A GPU's PCIe link in words and numbers.
namespace hw
{

/// Usable bandwidth of one PCIe lane in GB/s (after line coding) for a link speed as the kernel
/// writes it, e.g. 1.969 for "16.0 GT/s PCIe"; 0.0 for a speed that is not known. Not trimmed.
double pcieLaneBandwidth(const QString &speedText);

/// One line such as "PCIe x16 @ 8.0 GT/s (~15.76 GB/s)", or "link unknown" without a width.
QString linkDescription(const GpuInfo &gpu);

} // namespace hw
