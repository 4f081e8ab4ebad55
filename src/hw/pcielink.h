// SPDX-License-Identifier: MIT
#pragma once

#include "hw/gpuinfo.h"

// A GPU's PCIe link: its bandwidth, and a line of text for the window.
namespace hw
{

/// Usable bandwidth of one PCIe lane in GB/s (after line coding) for a link speed as the kernel
/// writes it, e.g. 1.969 for "16.0 GT/s PCIe"; 0.0 for any other text, also one with white space
/// around it.
double pcieLaneBandwidth(const QString &speedText);

/// One line such as "PCIe x16 @ 8.0 GT/s (~15.76 GB/s)"; "link unknown" if the width is unknown.
QString linkDescription(const GpuInfo &gpu);

} // namespace hw
