// SPDX-License-Identifier: MIT
// Input: a line with the library prefix, then launch options. Reading and composing do what the
// plain telling of their rules says, and composing what was read is stable: read and composed
// again it is the same text.
#include "launch/launchoptions.h"
#include "model/launchmodel.h"
#include "require.h"

using namespace Qt::StringLiterals;

namespace
{

model::LaunchSettings plain(const launch::GameSettings &s)
{
    return {s.upscaling, s.renderW,  s.renderH, s.outputW,   s.outputH, s.framegen,    s.fgbackend,
            s.holdback,  s.framecap, s.caphz,   s.renderres, s.pacing,  s.debugoverlay};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, size_t size)
{
    const QByteArray input(reinterpret_cast<const char *>(data), static_cast<qsizetype>(size));
    const qsizetype end = std::max<qsizetype>(input.indexOf('\n'), 0);
    const QByteArray prefix = input.first(end);
    const QByteArray bytes = input.sliced(end);
    const QString text = QString::fromLatin1(bytes);

    fuzz::require(launch::isOwnLaunchOptions(text) == model::isOwn(bytes.toStdString()),
                  "recognised as told");
    const launch::GameSettings settings = launch::parseLaunchOptions(text);
    fuzz::require(plain(settings) == model::parse(bytes.toStdString()), "read as told");

    hw::GpuInfo display;
    display.pciAddress = u"0000:0e:00.0"_s;
    display.pciTag = u"pci-0000_0e_00_0"_s;
    display.pciId = u"1002:164e"_s;
    hw::GpuInfo render;
    render.pciAddress = u"0000:03:00.0"_s;
    render.pciTag = u"pci-0000_03_00_0"_s;
    render.pciId = u"10de:2684"_s;
    const model::LaunchGpu plainDisplay{"0000:0e:00.0", "pci-0000_0e_00_0", "1002:164e"};
    const model::LaunchGpu plainRender{"0000:03:00.0", "pci-0000_03_00_0", "10de:2684"};
    const QString lossless = u"/games/Lossless.dll"_s;

    const bool twoGpus = input.size() % 2;
    const QString composed = launch::composeLaunchOptions(
        settings, display, twoGpus ? render : display, QString::fromLatin1(prefix), lossless, 144);
    fuzz::require(composed.toLatin1().toStdString() ==
                      model::compose(plain(settings), plainDisplay,
                                     twoGpus ? plainRender : plainDisplay, prefix.toStdString(),
                                     true, 144),
                  "composed as told");

    const auto recompose = [&](const QString &options) {
        return launch::composeLaunchOptions(launch::parseLaunchOptions(options), display, render,
                                            {}, lossless, 144);
    };
    const QString once = recompose(text);
    fuzz::require(launch::isOwnLaunchOptions(once), "what is composed is recognised");
    fuzz::require(recompose(once) == once, "composing is stable");
    return 0;
}
