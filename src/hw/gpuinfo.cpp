// SPDX-License-Identifier: MIT
#include "hw/gpuinfo.h"

using namespace Qt::StringLiterals;

namespace hw
{

QString gpuDisplayName(const GpuInfo &gpu)
{
    return u"%1 (%2)"_s.arg(gpu.name, gpu.pciId);
}

} // namespace hw
