// SPDX-License-Identifier: MIT
#include "model/launchmodel.h"

#include <limits>

namespace model
{
namespace
{

bool has(const std::string &text, const char *part)
{
    return text.find(part) != std::string::npos;
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string digitsAt(const std::string &text, std::size_t position)
{
    std::string digits;
    while (position < text.size() && isDigit(text[position]))
        digits += text[position++];
    return digits;
}

/// The number; 0 if it does not fit an int.
int numberOf(const std::string &digits)
{
    long long number = 0;
    for (const char digit : digits) {
        number = number * 10 + (digit - '0');
        if (number > std::numeric_limits<int>::max())
            return 0;
    }
    return static_cast<int>(number);
}

/// The digits after the first `key` that is followed by any; at most `most` of them.
std::string firstDigits(const std::string &text, const std::string &key, std::size_t most = 1000)
{
    for (std::size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + 1)) {
        const std::string digits = digitsAt(text, at + key.size());
        if (!digits.empty())
            return digits.substr(0, most);
    }
    return {};
}

int firstNumber(const std::string &text, const std::string &key, int otherwise)
{
    const std::string digits = firstDigits(text, key);
    return digits.empty() ? otherwise : numberOf(digits);
}

/// The number with one decimal after the first MARROWPULSE_LOW_LATENCY= that has one, in tenths.
int pacingIn(const std::string &text)
{
    const std::string key = "MARROWPULSE_LOW_LATENCY=";
    for (std::size_t at = text.find(key); at != std::string::npos; at = text.find(key, at + 1)) {
        const std::string whole = digitsAt(text, at + key.size());
        const std::size_t point = at + key.size() + whole.size();
        if (whole.empty() || point + 1 >= text.size() || text[point] != '.' ||
            !isDigit(text[point + 1]))
            continue;
        const long long tenths = numberOf(whole) * 10LL + (text[point + 1] - '0');
        return tenths > std::numeric_limits<int>::max() ? 0 : static_cast<int>(tenths);
    }
    return 0;
}

} // namespace

int frameCap(int refreshHz)
{
    if (refreshHz < 1)
        return 45;
    // Three quarters plus a half: the division cuts the fraction off, which so rounds.
    return static_cast<int>((3LL * refreshHz + 2) / 4);
}

std::string compose(const LaunchSettings &settings, const LaunchGpu &display,
                    const LaunchGpu &render, const std::string &prefix, bool losslessFound,
                    int refreshHz)
{
    const auto number = [](int value) { return std::to_string(value); };
    std::string text = "MARROWPULSE=1 ";
    if (prefix != "")
        text += "LD_LIBRARY_PATH=" + prefix + " ";
    if (settings.framegen) {
        text += "GAMESCOPE_FRAMEGEN=auto ";
        text += "GAMESCOPE_FRAMEGEN_HOLDBACK=" + number(settings.holdback) + " ";
        if (settings.fgbackend == 1 && losslessFound)
            text += "GAMESCOPE_FRAMEGEN_BACKEND=lsfg ";
        if (settings.renderres)
            text += "MARROWPULSE_FG_RENDER_RES=1 ";
        if (settings.pacing != 0)
            text += "MARROWPULSE_LOW_LATENCY=" + number(settings.pacing / 10) + "." +
                    number(settings.pacing % 10) + " ";
        if (settings.debugoverlay)
            text += "GAMESCOPE_FRAMEGEN_DEBUG=1 ";
    }
    text += "marrowpulse-gamescope --backend sdl ";
    text += "--prefer-vk-device " + display.id + " ";
    if (settings.upscaling)
        text += "-w " + number(settings.renderW) + " -h " + number(settings.renderH) + " ";
    else
        text += "-w " + number(settings.outputW) + " -h " + number(settings.outputH) + " ";
    text += "-W " + number(settings.outputW) + " -H " + number(settings.outputH) + " ";
    if (settings.upscaling)
        text += "-F fsr ";
    if (settings.framecap && settings.caphz >= 1)
        text += "-r " + number(settings.caphz) + " ";
    if (settings.framecap && settings.caphz < 1)
        text += "-r " + number(frameCap(refreshHz)) + " ";
    text += "-f --force-windows-fullscreen -g -- ";
    if (render.id != display.id || render.address != display.address)
        text += "env MESA_VK_DEVICE_SELECT=" + render.tag + " DRI_PRIME=" + render.id + " ";
    return text + "%command%";
}

bool isOwn(const std::string &text)
{
    const bool startsTheGame = has(text, "%command%");
    const bool marked = has(text, "MARROWPULSE=1");
    const bool fromBeforeTheMarker = has(text, "GAMESCOPE_FRAMEGEN") && has(text, "gamescope ");
    return startsTheGame && (marked || fromBeforeTheMarker);
}

LaunchSettings parse(const std::string &text)
{
    LaunchSettings settings;
    const int w = firstNumber(text, "-w ", 1280);
    const int h = firstNumber(text, "-h ", 720);
    settings.outputW = firstNumber(text, "-W ", 1920);
    settings.outputH = firstNumber(text, "-H ", 1080);
    const bool sameSize = w == settings.outputW && h == settings.outputH;
    settings.upscaling = has(text, "-F fsr") && !sameSize;
    settings.renderW = settings.upscaling ? w : 1280;
    settings.renderH = settings.upscaling ? h : 720;
    settings.framegen = has(text, "GAMESCOPE_FRAMEGEN=");
    const std::string holdback = firstDigits(text, "GAMESCOPE_FRAMEGEN_HOLDBACK=", 1);
    settings.holdback = holdback.empty() ? 1 : numberOf(holdback);
    settings.fgbackend = has(text, "GAMESCOPE_FRAMEGEN_BACKEND=lsfg") ? 1 : 0;
    settings.caphz = firstNumber(text, "-r ", 0);
    settings.framecap = settings.caphz > 0;
    settings.renderres = has(text, "MARROWPULSE_FG_RENDER_RES=1");
    settings.debugoverlay = has(text, "GAMESCOPE_FRAMEGEN_DEBUG=1");
    settings.pacing = pacingIn(text);
    return settings;
}

} // namespace model
