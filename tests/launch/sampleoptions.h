// SPDX-License-Identifier: MIT
#pragma once

#include "hw/gpuinfo.h"
#include "launch/gamesettings.h"

#include <QByteArray>
#include <QString>
#include <QTest>

/// The GPU that drives the display of these tests' machine.
inline hw::GpuInfo displayGpu()
{
    hw::GpuInfo gpu;
    gpu.card = QStringLiteral("card1");
    gpu.pciAddress = QStringLiteral("0000:03:00.0");
    gpu.pciTag = QStringLiteral("pci-0000_03_00_0");
    gpu.pciId = QStringLiteral("1002:73bf");
    return gpu;
}

/// Its second GPU.
inline hw::GpuInfo secondGpu()
{
    hw::GpuInfo gpu;
    gpu.card = QStringLiteral("card0");
    gpu.pciAddress = QStringLiteral("0000:01:00.0");
    gpu.pciTag = QStringLiteral("pci-0000_01_00_0");
    gpu.pciId = QStringLiteral("10de:2684");
    return gpu;
}

/// A record in which every field differs from its default, and its lines in the store: in the
/// section [config], for the app 10.
inline const launch::GameSettings everythingChanged{.upscaling = false,
                                                    .renderW = 1600,
                                                    .renderH = 900,
                                                    .outputW = 3840,
                                                    .outputH = 2160,
                                                    .framegen = false,
                                                    .fgbackend = 1,
                                                    .holdback = 2,
                                                    .framecap = false,
                                                    .caphz = 90,
                                                    .renderres = false,
                                                    .pacing = 15,
                                                    .debugoverlay = true};
inline const QByteArray everythingChangedLines = "10\\upscaling=false\n"
                                                 "10\\renderW=1600\n"
                                                 "10\\renderH=900\n"
                                                 "10\\outputW=3840\n"
                                                 "10\\outputH=2160\n"
                                                 "10\\framegen=false\n"
                                                 "10\\fgbackend=1\n"
                                                 "10\\holdback=2\n"
                                                 "10\\framecap=false\n"
                                                 "10\\caphz=90\n"
                                                 "10\\renderres=false\n"
                                                 "10\\pacing=15\n"
                                                 "10\\debugoverlay=true\n";

namespace launch
{

/// Shows a record in the message of a failed comparison.
inline char *toString(const GameSettings &s)
{
    const auto text = QStringLiteral("upscaling %1, %2x%3 to %4x%5, framegen %6 ")
                          .arg(s.upscaling)
                          .arg(s.renderW)
                          .arg(s.renderH)
                          .arg(s.outputW)
                          .arg(s.outputH)
                          .arg(s.framegen) +
                      QStringLiteral("backend %1 holdback %2, framecap %3 %4, ")
                          .arg(s.fgbackend)
                          .arg(s.holdback)
                          .arg(s.framecap)
                          .arg(s.caphz) +
                      QStringLiteral("renderres %1, pacing %2, debugoverlay %3")
                          .arg(s.renderres)
                          .arg(s.pacing)
                          .arg(s.debugoverlay);
    return qstrdup(text.toUtf8());
}

} // namespace launch
