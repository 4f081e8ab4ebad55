// SPDX-License-Identifier: MIT
#include "launch/launchoptions.h"

#include <QStringList>

#include <utility>

using namespace Qt::StringLiterals;

// The launch options: one line, with single blanks between the parts (optional parts in brackets):
//
//   MARROWPULSE=1 [LD_LIBRARY_PATH=prefix]
//   [GAMESCOPE_FRAMEGEN=auto GAMESCOPE_FRAMEGEN_HOLDBACK=n [GAMESCOPE_FRAMEGEN_BACKEND=lsfg]
//    [MARROWPULSE_FG_RENDER_RES=1] [MARROWPULSE_LOW_LATENCY=n.n] [GAMESCOPE_FRAMEGEN_DEBUG=1]]
//   marrowpulse-gamescope --backend sdl --prefer-vk-device id -w n -h n -W n -H n [-F fsr] [-r n]
//   -f --force-windows-fullscreen -g -- [env MESA_VK_DEVICE_SELECT=tag DRI_PRIME=id] %command%

namespace launch
{
namespace
{

// Tokens that the composer writes and the reader looks for.
constexpr auto marker = "MARROWPULSE=1"_L1; // by which the program recognises its own; the first
constexpr auto gameCommand = "%command%"_L1;
constexpr auto framegenKey = "GAMESCOPE_FRAMEGEN="_L1;
constexpr auto holdbackKey = "GAMESCOPE_FRAMEGEN_HOLDBACK="_L1;
constexpr auto lsfgBackend = "GAMESCOPE_FRAMEGEN_BACKEND=lsfg"_L1;
constexpr auto renderResolution = "MARROWPULSE_FG_RENDER_RES=1"_L1;
constexpr auto pacingKey = "MARROWPULSE_LOW_LATENCY="_L1;
constexpr auto debugOverlay = "GAMESCOPE_FRAMEGEN_DEBUG=1"_L1;
constexpr auto fsrUpscaling = "-F fsr"_L1;

QStringList framegenTokens(const GameSettings &settings, const QString &losslessPath)
{
    QStringList tokens{framegenKey + "auto"_L1, holdbackKey + QString::number(settings.holdback)};
    if (settings.fgbackend == 1 && !losslessPath.isEmpty())
        tokens << lsfgBackend;
    if (settings.renderres)
        tokens << renderResolution;
    if (settings.pacing != 0)
        tokens << pacingKey + u"%1.%2"_s.arg(settings.pacing / 10).arg(settings.pacing % 10);
    if (settings.debugoverlay)
        tokens << debugOverlay;
    return tokens;
}

} // namespace

int defaultFrameCap(int refreshHz)
{
    return refreshHz < 1 ? 45 : qRound(refreshHz * 0.75);
}

int frameCapInForce(const GameSettings &settings, int refreshHz)
{
    return settings.caphz >= 1 ? settings.caphz : defaultFrameCap(refreshHz);
}

QString composeLaunchOptions(const GameSettings &settings, const hw::GpuInfo &compositingGpu,
                             const hw::GpuInfo &renderGpu, const QString &libraryPrefix,
                             const QString &losslessPath, int refreshHz)
{
    QStringList tokens{marker};
    if (!libraryPrefix.isEmpty())
        tokens << "LD_LIBRARY_PATH="_L1 + libraryPrefix;
    if (settings.framegen)
        tokens << framegenTokens(settings, losslessPath);

    tokens << u"marrowpulse-gamescope --backend sdl"_s
           << "--prefer-vk-device "_L1 + compositingGpu.pciId;
    const int renderW = settings.upscaling ? settings.renderW : settings.outputW;
    const int renderH = settings.upscaling ? settings.renderH : settings.outputH;
    tokens << u"-w %1 -h %2"_s.arg(renderW).arg(renderH)
           << u"-W %1 -H %2"_s.arg(settings.outputW).arg(settings.outputH);
    if (settings.upscaling)
        tokens << fsrUpscaling;
    if (settings.framecap)
        tokens << "-r "_L1 + QString::number(frameCapInForce(settings, refreshHz));
    tokens << u"-f --force-windows-fullscreen -g --"_s;

    // After "--" the variables reach only the game, not gamescope. Two cards of the same model
    // differ in their address.
    const bool sameGpu = renderGpu.pciId == compositingGpu.pciId &&
                         renderGpu.pciAddress == compositingGpu.pciAddress;
    if (!sameGpu)
        tokens << "env MESA_VK_DEVICE_SELECT="_L1 + renderGpu.pciTag
               << "DRI_PRIME="_L1 + renderGpu.pciId;
    tokens << gameCommand;
    return tokens.join(u' ');
}

bool isOwnLaunchOptions(const QString &text)
{
    const bool isOlder = // written before there was a marker
        text.contains("GAMESCOPE_FRAMEGEN"_L1) && text.contains("gamescope "_L1);
    return text.contains(gameCommand) && (text.contains(marker) || isOlder);
}

bool isUsersOwn(const QString &text)
{
    return !text.isEmpty() && !isOwnLaunchOptions(text);
}

int captureInt(const QString &text, const QRegularExpression &pattern, int fallback)
{
    const QRegularExpressionMatch match = pattern.match(text);
    return match.hasMatch() ? match.captured(1).toInt() : fallback;
}

GameSettings parseLaunchOptions(const QString &text)
{
    static const QRegularExpression renderWidth(u"-w (\\d+)"_s);
    static const QRegularExpression renderHeight(u"-h (\\d+)"_s);
    static const QRegularExpression outputWidth(u"-W (\\d+)"_s);
    static const QRegularExpression outputHeight(u"-H (\\d+)"_s);
    static const QRegularExpression frameCap(u"-r (\\d+)"_s);
    static const QRegularExpression holdback(holdbackKey + "(\\d)"_L1);
    static const QRegularExpression pacing(pacingKey + "([0-9]+)\\.[0-9]"_L1);
    static const QRegularExpression pacingTenth(pacingKey + "[0-9]+\\.([0-9])"_L1);

    GameSettings settings;
    const int w = captureInt(text, renderWidth, 1280);
    const int h = captureInt(text, renderHeight, 720);
    settings.outputW = captureInt(text, outputWidth, 1920);
    settings.outputH = captureInt(text, outputHeight, 1080);
    settings.upscaling =
        text.contains(fsrUpscaling) && (h != settings.outputH || w != settings.outputW);
    if (settings.upscaling) {
        settings.renderW = w;
        settings.renderH = h;
    }
    settings.framegen = text.contains(framegenKey);
    settings.holdback = captureInt(text, holdback, 1);
    settings.fgbackend = text.contains(lsfgBackend) ? 1 : 0;
    settings.caphz = captureInt(text, frameCap, 0);
    settings.framecap = settings.caphz > 0;
    settings.renderres = text.contains(renderResolution);
    settings.debugoverlay = text.contains(debugOverlay);
    const qint64 tenths =
        qint64{10} * captureInt(text, pacing, 0) + captureInt(text, pacingTenth, 0);
    settings.pacing = std::in_range<int>(tenths) ? int(tenths) : 0;
    return settings;
}

} // namespace launch
